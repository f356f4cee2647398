// killed.h - the work of writers that are killed: records that follow from a slot and a version alone, so that whoever
// knows which versions were written knows what the volume must hold.
#ifndef KORVANE_TESTS_OBJECTSTORE_KILLED_H
#define KORVANE_TESTS_OBJECTSTORE_KILLED_H

#include "support.h"

#include <map>

namespace killed {

constexpr CEPROPID kSlot = Prop(1, CEVT_I4);
constexpr CEPROPID kVersion = Prop(2, CEVT_UI4);
constexpr CEPROPID kText = Prop(3, CEVT_LPWSTR);

using CState = std::map<DWORD, DWORD>; // version by slot

// Well mixed bits of a number.
DWORD Mix(DWORD n);

// The record of a slot: short texts, and one in twenty of 3,000 characters.
CProps Content(DWORD dwSlot, DWORD dwVersion);

// By slot, unique; by text and version.
std::vector<SORTORDERSPECEX> Orders();

// One operation: the slot gets this version, or, one time in six, loses the record that it has. On the model, and on
// the volume through a handle in the order of slots; 0 on failure.
void Apply(CState& state, DWORD dwSlot, DWORD dwVersion);
BOOL Perform(HANDLE hDb, DWORD dwSlot, DWORD dwVersion);

// What the database holds; a record that is not Content() of its slot and version fails the test.
CState ReadState(CEGUID guid, CEOID oidDatabase);

// So many numbers in memory that processes share under a name, zero at first.
class CSharedNumbers
{
public:
    CSharedNumbers(const std::wstring& strName, size_t nCount);
    ~CSharedNumbers();
    CSharedNumbers(const CSharedNumbers&) = delete;
    CSharedNumbers& operator=(const CSharedNumbers&) = delete;

    bool IsOpen() const { return m_pNumbers != nullptr; }
    volatile DWORD& operator[](size_t i) const { return m_pNumbers[i]; }

private:
    HANDLE m_hMap;
    volatile DWORD* m_pNumbers;
};

} // namespace killed

#endif
