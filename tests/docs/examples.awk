# Makes a compilable source of the examples in a page of the book, or of the samples in a header's leading comment.
#
#   awk -v page=NAME -v source=PATH -v out=FOLDER [-v header=base/x.h] -f examples.awk PATH
#
# Writes FOLDER/NAME.cpp, FOLDER/NAME.rc if the page shows resources, and FOLDER/NAME_1.cpp ... for examples that are whole
# programs; prints the path of each file.
# docs/HACKING.md has the rules. #line makes the compiler speak of the page's own lines.

function literal(text) { return "R\"page(" text ")page\"" }

function camel(name,    words, n, i, result) {
    n = split(name, words, "_")
    for (i = 1; i <= n; ++i) result = result toupper(substr(words[i], 1, 1)) substr(words[i], 2)
    return result
}

# Lines at the left margin that only a namespace can hold.
function is_declaration(text) {
    return text ~ /(^|\n)(class|struct|enum|namespace|template|BEGIN_MESSAGE_MAP|DECLARE_|IMPLEMENT_)/ || text ~ /(^|\n)\{\n/
}

# "if (...) ..." and "..." stand for what a host does there.
function completed(text) {
    gsub(/\) \.\.\.\n/, ") {}\n", text)
    gsub(/\n *\.\.\.\n/, "\n;\n", text)
    return text
}

function add_block(text, line,    file) {
    if (text ~ /(^|\n)#include/) {
        file = out "/" page "_" ++programs ".cpp"
        printf "#line %d \"%s\"\n%s", line, source, text > file
        close(file)
        print file
    } else if (is_declaration(text)) {
        declarations = declarations "#line " line " \"" source "\"\n" completed(text)
    } else {
        ++bodies
        body[bodies] = completed(text)
        body_line[bodies] = line
        skipped[bodies] = not_run
    }
    not_run = 0
}

# ---- A page ----

!header && /^<!-- compiled, not run -->$/ { not_run = 1; next }
!header && !in_block && /^```/ {
    in_block = 1
    kind = substr($0, 4)
    text = ""
    start = FNR + 1
    next
}
!header && in_block && /^```$/ {
    in_block = 0
    if (kind == "cpp") {
        last_is_body = bodies
        add_block(text, start)
        last_is_body = bodies > last_is_body
    } else if (kind == "rc") {
        resources = resources "#line " start " \"" source "\"\n" text
    } else if (kind == "text" && last_is_body) {
        prints[bodies] = text
        last_is_body = 0
    }
    next
}
!header && in_block { text = text $0 "\n" }

# ---- A header: the code is what is indented in its leading comment, as in doxygen_filter.awk ----

function end_sample() {
    # A list of names, or what is printed, is no code.
    if (sample ~ /[;{]/) add_block(sample, sample_line)
    sample = ""
}
header && !/^\/\// { end_sample(); nextfile }
header {
    line = substr($0, 3)
    if (line ~ /^ (Ownership|Threads|Errors|Close|Formats|Durability) /) definition = 1
    else if (line !~ /^ +[^ ]/ || line ~ /^ [^ ]/) definition = 0
    if (!definition && line ~ /^     /) {
        if (sample == "") sample_line = FNR
        sample = sample substr(line, 6) "\n"
    } else if (line ~ /^ *$/ && sample != "") sample = sample "\n"
    else end_sample()
}

END {
    if (header && sample != "") end_sample()
    if (resources != "") {
        file = out "/" page ".rc"
        print "#include <windows.h>\n#include \"resource.h\"\n" resources > file
        print file
    }
    if (!bodies && declarations == "") exit
    file = out "/" page ".cpp"
    if (header) printf "#include \"%s\"\n#include \"given.h\"\n", header > file
    else print "#include \"page.h\"" > file
    print "namespace {\n" declarations > file
    if (bodies) {
        print (header ? "[[maybe_unused]] void Sample()\n{" : "void Page(CPage& page)\n{") > file
        for (i = 1; i <= bodies; ++i) {
            print (skipped[i] ? "if (!page.IsRun()) {" : "{") > file
            printf "#line %d \"%s\"\n%s", body_line[i], source, body[i] > file
            if (!header && !skipped[i]) printf "page.Expect(%d, %s);\n", body_line[i], literal(prints[i]) > file
            # What an example declares, those below it know.
            if (skipped[i]) print "}" > file
            else ++open
        }
        if (!header) print "page.Finish();" > file
        while (open--) print "}" > file
        print "}" > file
    }
    print "} // namespace" > file
    if (bodies && !header) printf "TEST(PageTest, %sDoesWhatItSays)\n{\n    RunPage(Page);\n}\n", camel(page) > file
    print file
}
