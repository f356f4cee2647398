// agent.h - a second process that uses a volume at the test's word.
//
// One command a line, one answer a line: a number or a text on success, "error N" with the last error on failure.
//   mount FLAGS | unmount | flush      the volume named at the start; mount answers with the GUID
//   database NAME                      creates, with the order 1:I4
//   open NAME [PROPID] | shut          the handle that the commands below use
//   watch NAME                         another one, whose window is told of changes; nobody takes its messages
//   fill COUNT | grow COUNT            so many new records, 1:I4 from 0 on; with a blob of 30,000 bytes each
//   write OID NUMBER                   sets property 1:I4 (OID 0: a new record)
//   remove OID                         deletes a record
//   read OID | list                    a record's 1:I4; all of them in the handle's order
//   drop OID | reorder OID             deletes a database; takes its sort orders away
//   begin | commit | abandon           a batch
//   check                              CheckVolume
#ifndef KORVANE_TESTS_OBJECTSTORE_AGENT_H
#define KORVANE_TESTS_OBJECTSTORE_AGENT_H

#include "child.h"
#include "support.h"

class CAgent
{
public:
    explicit CAgent(const std::wstring& strPath) : m_child(L"agent", {strPath}) {}
    std::string Do(const std::string& strCommand)
    {
        m_child.Send(strCommand);
        return m_child.ReadLine();
    }
    // The two halves of Do, for agents that work at the same time.
    void Begin(const std::string& strCommand) { m_child.Send(strCommand); }
    std::string End() { return m_child.ReadLine(); }
    CEOID DoForOid(const std::string& strCommand) { return std::strtoul(Do(strCommand).c_str(), nullptr, 10); }
    void Kill() { m_child.Kill(); }
    DWORD Finish() { return m_child.Finish(); }

private:
    CChild m_child;
};

std::string RenderGuid(const CEGUID& guid);

#endif
