#include "base/scopetracer.h"

#include "base/logutil.h"

#include <windows.h>

___iCAutoWriter::___iCAutoWriter(CString file, CString function, unsigned long line)
    : m_strFunction(function), m_strFile(file), m_dwLine(line)
{
    if (theLogStream) {
        *theLogStream << "\n";
        theLogStream->WriteTabPrefix();
        *theLogStream << file << " (" << static_cast<long>(line) << " )  : Entering " << function << "\n";
        theLogStream->IncTabs();
    }
    ::GetLocalTime(&m_stStart);
}

___iCAutoWriter::~___iCAutoWriter()
{
    SYSTEMTIME stEnd;
    ::GetLocalTime(&stEnd);
    if (!theLogStream) return;
    theLogStream->DecTabs();
    *theLogStream << "\n";
    theLogStream->WriteTabPrefix();
    *theLogStream << m_strFile << "( " << static_cast<long>(m_dwLine) << " )  : Leaving " << m_strFunction
                  << ", elapsed time " << static_cast<long>(stEnd.wSecond - m_stStart.wSecond) << ":"
                  << static_cast<long>(stEnd.wMilliseconds - m_stStart.wMilliseconds) << "\n";
}
