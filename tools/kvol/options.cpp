#include "options.h"

#include "failure.h"
#include "text.h"
#include "value.h"

#include <windbase.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>

namespace kvol {

namespace {

constexpr const char* kAbout =
    "kvol makes, fills, shows, changes and checks volumes: files of tables that korvaneLib's database layer reads.";
constexpr const char* kTypes = "I2, UI2, I4, UI4, R8, BOOL, FILETIME, LPWSTR";
constexpr const char* kExitCodes = "Exit codes: 0 done, 1 failed, 2 wrong usage.";

// The option parser takes -5 for an option. A value may well begin so, and no option is a digit: such arguments go
// through it behind a mark, as do those that begin with the mark themselves.
constexpr char kNegativeMark = '\x01';

bool IsNegativeNumber(const std::string& text)
{
    return text.size() > 1 && text[0] == '-' && (text[1] == '.' || (text[1] >= '0' && text[1] <= '9'));
}

void Unmark(std::string& text)
{
    if (!text.empty() && text[0] == kNegativeMark) text.erase(0, 1);
}

FieldOption ParseField(const std::string& text)
{
    const size_t colon = text.rfind(':');
    FieldOption field;
    field.name = text.substr(0, colon);
    if (colon != std::string::npos) field.wType = TypeFromName(text.substr(colon + 1));
    if (field.name.empty() || !field.wType) {
        throw CUsageError("--field " + Quoted(text) + " is not NAME:TYPE with one of the types " + kTypes);
    }
    return field;
}

IndexOption ParseIndex(const std::string& text)
{
    const size_t equals = text.find('=');
    IndexOption index;
    index.name = text.substr(0, equals);
    if (equals != std::string::npos) index.field = text.substr(equals + 1);
    if (index.name.empty() || index.field.empty() || index.field[0] == ',') {
        throw CUsageError("--index " + Quoted(text) + " is not NAME=FIELD[,desc][,nocase]");
    }
    return index;
}

bool IsSqliteName(const std::string& path)
{
    for (const std::string suffix : {".sqlite", ".sqlite3", ".db"}) {
        if (path.size() > suffix.size() && ::_stricmp(path.c_str() + path.size() - suffix.size(), suffix.c_str()) == 0)
            return true;
    }
    return false;
}

Format ParseFormat(const std::string& text)
{
    if (text == "table") return Format::Table;
    if (text == "csv") return Format::Csv;
    if (text == "json") return Format::Json;
    throw CUsageError("--format " + Quoted(text) + " is not table, csv or json");
}

// The option parser's side of a Request: what it fills, and what is made of that afterwards.
class CCommandLine
{
public:
    CCommandLine() : m_app(kAbout, "kvol")
    {
        // On this system a path that begins with a slash would pass for an option.
        m_app.allow_windows_style_options(false);
        m_app.set_version_flag("--version", "kvol " KVOL_VERSION);
        m_app.require_subcommand(1);
        m_app.footer(std::string("\"kvol COMMAND --help\" tells more. ") + kExitCodes);
        AddImport();
        AddTables();
        AddSchema();
        AddDump();
        AddSeek();
        AddSet();
        AddDelete();
        AddCheck();
        AddDrop();
        AddCompact();
        AddExport();
        AddRecover();
    }

    Request Parse(std::vector<std::string> arguments)
    {
        for (std::string& argument : arguments) {
            const bool bHasMark = !argument.empty() && argument[0] == kNegativeMark;
            if (bHasMark || IsNegativeNumber(argument)) argument.insert(0, 1, kNegativeMark);
        }
        std::reverse(arguments.begin(), arguments.end());
        try {
            m_app.parse(std::move(arguments));
        } catch (const CLI::Success& success) {
            std::ostringstream out;
            std::ostringstream err;
            m_app.exit(success, out, err);
            m_request.command = Request::Command::Answered;
            m_request.text = out.str();
            return m_request;
        } catch (const CLI::ParseError& error) {
            std::vector<std::string> unknown = m_app.remaining();
            if (m_app.get_subcommands().empty() && !unknown.empty() && unknown[0][0] != '-') {
                Unmark(unknown[0]);
                throw CUsageError("there is no command " + Quoted(unknown[0]));
            }
            std::string what = error.what();
            what.erase(std::remove(what.begin(), what.end(), kNegativeMark), what.end());
            throw CUsageError(what);
        }
        Options& options = m_request.options;
        for (std::string* pText : {&options.volume, &options.table, &options.file, &options.value}) Unmark(*pText);
        if (m_request.command == Request::Command::Import) FinishImport();
        if (options.index) Unmark(*options.index);
        for (std::string& change : options.changes) {
            Unmark(change);
            if (change.find('=') == std::string::npos) throw CUsageError(Quoted(change) + " is not FIELD=VALUE");
        }
        if (options.equal) Unmark(*options.equal);
        Unmark(m_format);
        options.format = ParseFormat(m_format);
        for (std::string& text : m_fields) {
            Unmark(text);
            options.fields.push_back(ParseField(text));
        }
        for (std::string& text : m_indexes) {
            Unmark(text);
            options.indexes.push_back(ParseIndex(text));
        }
        return m_request;
    }

private:
    CLI::App* Add(const char* pszName, const char* pszAbout, Request::Command command, bool bTable)
    {
        CLI::App* pCommand = m_app.add_subcommand(pszName, pszAbout);
        pCommand->callback([this, command] { m_request.command = command; });
        pCommand->add_option("VOLUME", m_request.options.volume, "The volume's file")->required();
        if (bTable) pCommand->add_option("TABLE", m_request.options.table, "The table's name")->required();
        return pCommand;
    }

    void AddKey(CLI::App* pCommand)
    {
        pCommand->add_option("INDEX", m_request.options.index, "An index of the table")->required();
        pCommand->add_option("VALUE", m_request.options.value, "The value to look for in the index's field")
            ->required();
    }

    void AddImport()
    {
        Options& options = m_request.options;
        CLI::App* pCommand = Add(
            "import", "Reads a CSV or JSON file into a table, or all tables of a SQLite file; makes what is missing",
            Request::Command::Import, true);
        pCommand->add_option("FILE", options.file,
                             "CSV with a header (RFC 4180), or JSON: an array of flat objects. UTF-8");
        // One value each: the next argument is not another one.
        CLI::Option* pField = pCommand->add_option("--field", m_fields,
                                                   std::string("NAME:TYPE - the type of a column, one of ") + kTypes +
                                                       "; worked out when it is not given");
        pField->allow_extra_args(false)->type_name("NAME:TYPE");
        CLI::Option* pIndex = pCommand->add_option("--index", m_indexes, "An index on a column, up to 4 in all");
        pIndex->allow_extra_args(false)->type_name("NAME=FIELD[,desc][,nocase]");
        CLI::Option* pAppend = pCommand->add_flag("--append", options.bAppend, "Add to a table that is there already");
        pAppend->excludes(pField)->excludes(pIndex);
        pCommand->add_flag("--replace", options.bReplace, "Make a table anew that is there already")->excludes(pAppend);
        pCommand->footer(
            std::string(
                "An empty cell is an absent value, \"\" an empty text. A failing import changes nothing.\n"
                "kvol import VOLUME FILE.sqlite [--replace] reads all tables of a SQLite file.\n"
                "Example: kvol import world.vol cities cities.csv --field zip:LPWSTR --index ByName=name,nocase\n") +
            kExitCodes);
    }

    void AddTables()
    {
        Add("tables", "Lists the tables: name, fields, indexes, records, with tabs between", Request::Command::Tables,
            false)
            ->footer(kExitCodes);
    }

    void AddSchema()
    {
        CLI::App* pCommand =
            Add("schema", "Shows the fields and indexes of the tables", Request::Command::Schema, false);
        pCommand->add_option("TABLE", m_request.options.table, "Only this table");
        pCommand->footer(kExitCodes);
    }

    void AddDump()
    {
        Options& options = m_request.options;
        CLI::App* pCommand = Add("dump", "Prints the records of a table", Request::Command::Dump, true);
        CLI::Option* pIndex =
            pCommand->add_option("--index", options.index, "Walk in the order of this index; else of creation");
        pIndex->type_name("NAME");
        pCommand->add_option("--equal", options.equal, "Only the records with this value in the index")
            ->needs(pIndex)
            ->type_name("VALUE");
        pCommand->add_option("--limit", options.limit, "Only the first N of them")->type_name("N");
        pCommand->add_option("--format", m_format, "table (for reading), csv or json")->type_name("table|csv|json");
        pCommand->footer(kExitCodes);
    }

    void AddSeek()
    {
        CLI::App* pCommand =
            Add("seek", "Prints the first record with a value in an index", Request::Command::Seek, true);
        AddKey(pCommand);
        pCommand->footer(kExitCodes);
    }

    void AddSet()
    {
        CLI::App* pCommand =
            Add("set", "Changes fields of the record with a value in an index", Request::Command::Set, true);
        AddKey(pCommand);
        pCommand->add_option("FIELD=VALUE", m_request.options.changes, "A field and its new value")->required();
        pCommand->add_flag("--all", m_request.options.bAll, "Change all such records when there are several");
        pCommand->footer(std::string("FIELD= removes the value, FIELD=\"\" (two quotes) makes it an empty text.\n") +
                         kExitCodes);
    }

    void AddDelete()
    {
        CLI::App* pCommand =
            Add("delete", "Deletes the record with a value in an index", Request::Command::Delete, true);
        AddKey(pCommand);
        pCommand->add_flag("--all", m_request.options.bAll, "Delete all such records when there are several");
        pCommand->footer(kExitCodes);
    }

    void AddCheck()
    {
        Add("check", "Verifies every record, index entry, catalogue row and count", Request::Command::Check, false)
            ->footer(kExitCodes);
    }

    void AddDrop()
    {
        Add("drop", "Removes a table: its records, its indexes, and what the catalogues say of it",
            Request::Command::Drop, true)
            ->footer(kExitCodes);
    }

    void AddCompact()
    {
        Add("compact", "Writes the volume anew without its free space", Request::Command::Compact, false)
            ->footer(std::string("The new file replaces the volume in one step at the end.\n") + kExitCodes);
    }

    void AddExport()
    {
        Options& options = m_request.options;
        CLI::App* pCommand = Add("export", "Writes all tables into a SQLite file", Request::Command::Export, false);
        pCommand->add_option("FILE", options.file, "The SQLite file to make")->required();
        pCommand->add_flag("--replace", options.bReplace, "Replace a file that is there already");
        pCommand->footer(std::string("\"kvol import VOLUME FILE.sqlite\" reads it back.\n") + kExitCodes);
    }

    void AddRecover()
    {
        CLI::App* pCommand = m_app.add_subcommand("recover", "Makes a new volume of what can be read of a damaged one");
        pCommand->callback([this] { m_request.command = Request::Command::Recover; });
        pCommand->add_option("DAMAGED", m_request.options.file, "The damaged volume's file, which is only read")
            ->required();
        pCommand->add_option("VOLUME", m_request.options.volume, "The new volume's file, which may not be there yet")
            ->required();
        pCommand->footer(std::string("Exit code 1 also when something was lost.\n") + kExitCodes);
    }

    // import VOLUME FILE.sqlite: one argument less than the import of a table.
    void FinishImport()
    {
        Options& options = m_request.options;
        if (!options.file.empty()) return;
        if (!IsSqliteName(options.table))
            throw CUsageError(
                "FILE is required: only a SQLite file (.sqlite, .sqlite3, .db) is imported without TABLE");
        if (options.bAppend || !m_fields.empty() || !m_indexes.empty())
            throw CUsageError("--append, --field and --index go with a CSV or JSON file, not with a SQLite file");
        options.file.swap(options.table);
        m_request.command = Request::Command::ImportSqlite;
    }

    CLI::App m_app;
    Request m_request;
    std::string m_format = "table";
    std::vector<std::string> m_fields;
    std::vector<std::string> m_indexes;
};

} // namespace

Request ParseCommandLine(std::vector<std::string> arguments)
{
    return CCommandLine().Parse(std::move(arguments));
}

} // namespace kvol
