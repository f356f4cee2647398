#include "volume.h"

#include "support/start_recorder.h"
#include "support/temp_folder.h"

#include <cstdio>

namespace {

// In UTF-8, as the lists of a real volume have them.
constexpr struct
{
    const wchar_t* table;
    const char* csv;
    const wchar_t* options;
} kTables[] = {
    {L"countries",
     "alpha_2,alpha_3,numeric,name,official_name,common_name\n"
     "AQ,ATA,010,Antarctica,,\n"
     "AX,ALA,248,\xC3\x85land Islands,,\n"
     "IN,IND,356,India,Republic of India,\n"
     "IS,ISL,352,Iceland,Republic of Iceland,\n"
     "IE,IRL,372,Ireland,,\n"
     "BO,BOL,068,\"Bolivia, Plurinational State of\",Plurinational State of Bolivia,Bolivia\n"
     "CH,CHE,756,Switzerland,Swiss Confederation,\n",
     L"--index ByCode=alpha_2 --index ByName=name,nocase"},
    {L"subdivisions",
     "code,name,type\n"
     "IS-1,H\xC3\xB6"
     "fu\xC3\xB0"
     "borgarsv\xC3\xA6\xC3\xB0i,Region\nIS-2,Su\xC3\xB0urnes,Region\nIS-AKN,Akraneskaupsta\xC3\xB0ur,Municipality\n"
     "IE-C,Connaught,Province\nIE-L,Leinster,Province\nIE-M,Munster,Province\nIE-U,Ulster,Province\n"
     "IE-CW,Carlow,County\nIE-CN,Cavan,County\nIE-CE,Clare,County\nIE-CO,Cork,County\nIE-DL,Donegal,County\n"
     "IE-D,Dublin,County\nIE-G,Galway,County\nIE-KY,Kerry,County\nIE-KE,Kildare,County\nIE-KK,Kilkenny,County\n"
     "IE-LS,Laois,County\nIE-LM,Leitrim,County\nIE-LK,Limerick,County\nIE-LD,Longford,County\n",
     L"--index ByCode=code"},
    {L"currencies", "alpha_3,name\nEUR,Euro\nISK,Iceland Krona\nCHF,Swiss Franc\nBOB,Boliviano\n",
     L"--index ByCode=alpha_3"},
    {L"languages",
     "alpha_3,alpha_2,name\nisl,is,Icelandic\neng,en,English\ngle,ga,Irish\ndeu,de,German\nfra,fr,French\n"
     "gsw,,Swiss German\nroh,rm,Romansh\nhin,hi,Hindi\n",
     L"--index ByCode=alpha_3 --index ByCode2=alpha_2"},
    {L"country_currencies", "country,currency\nAX,EUR\nIE,EUR\nIS,ISK\nCH,CHF\nIN,INR\nBO,BOB\n",
     L"--index ByCountry=country"},
    {L"country_languages",
     "country,language,status,share\nIE,en,official,98\nIE,ga,official,22\nIS,is,official,100\nCH,de,official,73\n"
     "CH,gsw,de_facto_official,65\nCH,fr,official,21\nCH,rm,official_regional,0.5\nIN,hi,official,41\n",
     L"--field share:R8 --index ByCountry=country"},
    {L"favourites", "country,sum\n", L"--field sum:R8 --index ByCountry=country"},
};

} // namespace

unsigned long Kvol(const std::wstring& arguments)
{
    std::wstring line = L'"' + ProgramFolder() + L"\\kvol.exe\" " + arguments;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    const HANDLE nowhere = ::CreateFileW(L"NUL", GENERIC_WRITE, 0, &inherited, OPEN_EXISTING, 0, nullptr);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = nowhere;
    PROCESS_INFORMATION process = {};
    DWORD code = 99;
    if (::CreateProcessW(nullptr, &line[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process)) {
        if (::WaitForSingleObject(process.hProcess, 60000) != WAIT_OBJECT_0) ::TerminateProcess(process.hProcess, 99);
        ::GetExitCodeProcess(process.hProcess, &code);
        ::CloseHandle(process.hThread);
        ::CloseHandle(process.hProcess);
    }
    ::CloseHandle(nowhere);
    return code;
}

bool MakeVolume(const std::wstring& path, const std::wstring& without)
{
    const CTempFolder folder;
    for (const auto& table : kTables) {
        if (table.table == without) continue;
        const std::wstring csv = folder.File(std::wstring(table.table) + L".csv");
        FILE* const file = ::_wfopen(csv.c_str(), L"wb");
        if (!file) return false;
        std::fputs(table.csv, file);
        std::fclose(file);
        if (Kvol(L"import \"" + path + L"\" " + table.table + L" \"" + csv + L"\" " + table.options) != 0) return false;
    }
    return true;
}

bool CopyVolume(const std::wstring& path)
{
    static const CTempFolder folder;
    static const bool isMade = MakeVolume(folder.File(L"whole.vol"));
    return isMade && ::CopyFileW(folder.File(L"whole.vol").c_str(), path.c_str(), FALSE);
}
