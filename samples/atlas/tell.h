// Sentences of the string table, told to a person.
#ifndef KORVANE_SAMPLES_ATLAS_TELL_H
#define KORVANE_SAMPLES_ATLAS_TELL_H

#include "korvanelib.h"

inline CString Sentence(UINT id, LPCTSTR subject = L"")
{
    CString text;
    text.FormatMessage(id, subject);
    return text;
}

// Shows the sentence in a message box, and writes it to the log.
inline void Tell(UINT id, LPCTSTR subject = L"", UINT icon = MB_ICONEXCLAMATION)
{
    const CString text = Sentence(id, subject);
    *theLogStream << "\n" << L"atlas: " << text;
    AfxMessageBox(text, MB_OK | icon);
}

#endif
