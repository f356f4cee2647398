# Turns a page into a script for commands.sh: "put" for each file that the page shows, "try" for each command of its
# ```console blocks, with what the page says that the command prints.
function quoted(text) {
    gsub(/'/, "'\\''", text)
    return "'" text "'"
}
function end_command() {
    if (command != "") print "try " command_line " " quoted(command) " " quoted(shown)
    command = shown = ""
}
!in_block && /^```/ { in_block = 1; kind = substr($0, 4); first = 1; file = ""; next }
in_block && /^```$/ {
    end_command()
    if (file != "") print "put " quoted(file) " " quoted(content)
    in_block = 0
    next
}
in_block && kind == "console" {
    if (continued) {
        command = command "\n" $0
    } else if (/^\$ /) {
        end_command()
        command = substr($0, 3)
        command_line = FNR
    } else shown = shown $0 "\n"
    continued = (continued || /^\$ /) && /\\$/
    next
}
# A block that begins with its file's name as a comment is that file.
in_block && first && /^(\/\/|#) [A-Za-z0-9_]+\.(cpp|h|rc|txt)$/ { file = $2; content = "" }
in_block { first = 0; content = content $0 "\n" }
