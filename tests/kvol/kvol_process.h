// Starts kvol.exe, which lies beside the test program, and takes what it prints.
#ifndef KORVANE_TESTS_KVOL_KVOL_PROCESS_H
#define KORVANE_TESTS_KVOL_KVOL_PROCESS_H

#include "support/temp_folder.h"

#include <windbase.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

struct Outcome
{
    DWORD code = 0; // exit code
    std::string out;
    std::string err;

    bool OutHas(const std::string& part) const { return out.find(part) != std::string::npos; }
    bool ErrHas(const std::string& part) const { return err.find(part) != std::string::npos; }
};
std::ostream& operator<<(std::ostream& stream, const Outcome& outcome);

// Runs kvol with the arguments (UTF-8), standard output and error in pipes. It is ended after a minute.
Outcome Kvol(const std::vector<std::string>& arguments);

// Runs kvol with a console of its own, which nobody sees, in place of the pipes: its exit code.
DWORD KvolOnConsole(const std::vector<std::string>& arguments);

// Starts kvol and ends it hard after some milliseconds, if it is still running then. True when it was.
bool KvolKilledAfter(const std::vector<std::string>& arguments, DWORD dwMilliseconds);

// A folder with the files of one test, the volume first.
class KvolTest : public testing::Test
{
protected:
    KvolTest();
    // The path of a file in the folder, UTF-8.
    std::string Path(const std::string& name) const;
    // Writes a file into the folder and returns its path.
    std::string Write(const std::string& name, const std::string& bytes) const;
    std::string Read(const std::string& name) const;
    bool Exists(const std::string& name) const;
    const std::string& Volume() const { return m_volume; }

    // Imports CSV text into a table of the volume; the test fails when that fails.
    void Import(const std::string& table, const std::string& csv, const std::vector<std::string>& options = {});
    // The table as CSV.
    std::string Dump(const std::string& table);

private:
    CTempFolder m_folder;
    std::string m_volume;
};

// A volume mounted by the test itself, to look behind kvol's back, or to do damage.
class CMounted
{
public:
    explicit CMounted(const std::string& path);
    ~CMounted();
    CMounted(const CMounted&) = delete;
    CMounted& operator=(const CMounted&) = delete;

    CEGUID* Guid() { return &m_guid; }
    CEOID DatabaseOid(const wchar_t* pszName);
    // Writes a record (oid 0: a new one) and returns its OID, 0 on failure.
    CEOID Put(const wchar_t* pszDatabase, CEOID oid, std::vector<CEPROPVAL> values);
    // OIDs of all records in the order of their creation.
    std::vector<CEOID> Records(const wchar_t* pszDatabase);
    // All properties of a record, sorted by their identifier: `0x0000001F="text" 0x00010003=17`.
    std::string Get(const wchar_t* pszDatabase, CEOID oid);
    std::string Bytes(const wchar_t* pszDatabase, CEOID oid);
    bool Remove(const wchar_t* pszDatabase, CEOID oid);

private:
    HANDLE Open(const wchar_t* pszName);
    CEGUID m_guid;
};

// All values of the record under a handle's seek pointer to the last bit: identifiers, in their order, with the bytes.
std::string RecordBytes(HANDLE hDatabase);

CEPROPVAL TextProperty(CEPROPID propid, const wchar_t* pszText);
CEPROPVAL NumberProperty(CEPROPID propid, long value);
CEPROPVAL NoProperty(CEPROPID propid);

#endif
