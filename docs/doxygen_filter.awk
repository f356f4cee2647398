#!/usr/bin/awk -f
# The headers' plain comments as Doxygen's: "// text" before a declaration, "; // text" behind one. What would be a
# command or a tag of Doxygen's is escaped, and indented code is set as it stands.
function escaped(text) {
    gsub(/[\\@<>#%$&]/, "\\\\&", text)
    gsub(/::/, "\\::", text)
    return text
}
function end_code() {
    if (code) print code_lead "/// </pre>"
    code = 0
}
BEGIN { head = 1 }
# A rule between groups of members opens no comment.
/^ *\/\/ ----/ { end_code(); print ""; next }
/^ *\/\// {
    at = match($0, /\/\//)
    lead = substr($0, 1, at - 1)
    text = substr($0, at + 2)
    if (head && FNR == 1) print "/// \\file"
    if (head && text ~ /^ (Ownership|Threads|Errors)  /) {
        match(text, /(Ownership|Threads|Errors) +/)
        end_code()
        print "///"
        text = " **" $2 ".** " substr(text, RSTART + RLENGTH)
        # A definition's lines are indented to its first: without that they are one paragraph.
        definition = 1
    } else if (text !~ /^ +[^ ]/) definition = 0
    if (definition) sub(/^ +/, " ", text)
    is_code = text ~ /^     / || (code && text ~ /^ *$/)
    if (is_code && !code) {
        code = 1
        code_lead = lead
        print lead "/// <pre>"
    } else if (!is_code) end_code()
    print lead "///" escaped(text)
    next
}
{
    end_code()
    head = head && /^$/
}
/[;,{}0-9A-Za-z)] *\/\/ / && !/^#/ {
    at = match($0, / *\/\/ /)
    print substr($0, 1, at - 1) " ///< " escaped(substr($0, at + RLENGTH))
    next
}
{ print }
