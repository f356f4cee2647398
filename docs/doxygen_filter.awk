#!/usr/bin/awk -f
# The headers' plain comments as Doxygen's: "// text" before a declaration, "; // text" behind one. What would be a
# command or a tag of Doxygen's is escaped; indented code and tables are set as they stand.
function escaped_plain(text) {
    gsub(/[\\@<>#%$&]/, "\\\\&", text)
    gsub(/::/, "\\::", text)
    # What is in quotes would be taken as it stands, up to the next quote on whatever line.
    gsub(/"/, "\\&quot;", text)
    return text
}
# What is in backticks is taken as it stands; elsewhere "http://" would be a link.
function escaped(text,    result) {
    gsub(/"[a-z]+:\/\/"/, "`&`", text)
    while (match(text, /`[^`]*`/)) {
        result = result escaped_plain(substr(text, 1, RSTART - 1)) substr(text, RSTART, RLENGTH)
        text = substr(text, RSTART + RLENGTH)
    }
    return result escaped_plain(text)
}
# A comment is kept until what follows it is known.
function keep(line, plain) {
    kept[++nKept] = line
    kept_plain[nKept] = plain
}
function end_code() {
    if (code) keep(code_lead "/// \\endcode", "")
    code = 0
}
function end_comment(is_documentation,    i) {
    end_code()
    for (i = 1; i <= nKept; ++i) {
        if (is_documentation) print kept[i]
        else if (kept_plain[i] != "") print kept_plain[i]
    }
    nKept = list = 0
}
BEGIN { head = 1 }
# The first paragraph says what the header's classes are.
head && /^\/\/ *$/ { is_told = 1 }
head && !is_told && /^\/\// { about = about substr($0, 3) }
# A rule between groups of members opens no comment.
/^ *\/\/ ----/ { end_comment(1); print ""; previous = ""; next }
/^ *\/\// {
    at = match($0, /\/\//)
    lead = substr($0, 1, at - 1)
    text = substr($0, at + 2)
    if (head && FNR == 1) keep("/// \\file", "")
    if (head && text ~ /^ (Ownership|Threads|Errors|Close|Formats|Durability) /) {
        match(text, /(Ownership|Threads|Errors|Close|Formats|Durability) +/)
        end_code()
        keep("///", "")
        text = " **" $2 ".** " substr(text, RSTART + RLENGTH)
        # A definition's lines are indented to its first: without that they are one paragraph.
        definition = 1
    } else if (text !~ /^ +[^ ]/) definition = 0
    if (definition) sub(/^ +/, " ", text)
    if (text ~ /^ +(-|[0-9]+\.) /) list = 1
    else if (list && text ~ /^ [^ ]/) {
        list = 0
        keep(lead "///", "")
    }
    is_code = !list && text ~ /^   ( *[^ -]|  )/ || (code && text ~ /^ *$/)
    if (is_code && !code) {
        code = 1
        code_lead = lead
        keep(lead "/// \\code", "")
    } else if (!is_code) end_code()
    keep(lead "///" (is_code ? text : escaped(text)), $0)
    previous = $0
    next
}
# The comment of an #include or its like is no declaration's.
{ end_comment(head || !/^#(include|undef|if|else|endif)/) }
{ head = head && /^$/ }
# A class without a comment of its own.
/^class / && !/;/ && previous !~ /^ *\/\/|^template/ {
    name = FILENAME
    sub(/.*\//, "", name)
    print "///" escaped(about) " Rules and examples: " name "."
}
{ previous = $0 }
/[;,{}0-9A-Za-z)] *\/\/ / && !/^#/ {
    at = match($0, / *\/\/ /)
    print substr($0, 1, at - 1) " ///< " escaped(substr($0, at + RLENGTH))
    next
}
{ print }
END { end_comment(1) }
