#include "afx.h"

#include <climits>

IMPLEMENT_DYNAMIC(CException, CObject)
IMPLEMENT_DYNAMIC(CSimpleException, CException)
IMPLEMENT_DYNAMIC(CMemoryException, CSimpleException)
IMPLEMENT_DYNAMIC(CNotSupportedException, CSimpleException)
IMPLEMENT_DYNAMIC(CResourceException, CSimpleException)
IMPLEMENT_DYNAMIC(CUserException, CSimpleException)
IMPLEMENT_DYNAMIC(CInvalidArgException, CSimpleException)

CException::CException() : m_bAutoDelete(TRUE) {}

CException::CException(BOOL bAutoDelete) : m_bAutoDelete(bAutoDelete) {}

CException::~CException() {}

void CException::Delete()
{
    if (m_bAutoDelete) delete this;
}

BOOL CException::GetErrorMessage(LPTSTR pszError, UINT nMaxError, UINT* pnHelpContext)
{
    if (pnHelpContext) *pnHelpContext = 0;
    if (pszError && nMaxError > 0) *pszError = 0;
    return FALSE;
}

int CException::ReportError(UINT nType, UINT nMessageID)
{
    TCHAR szError[512];
    CString strMessage;
    if (GetErrorMessage(szError, ARRAYSIZE(szError))) {
        strMessage = szError;
    } else if (!strMessage.LoadString(nMessageID)) {
        strMessage = L"The operation could not be completed.";
    }
    TCHAR szProgram[MAX_PATH] = L"";
    ::GetModuleFileNameW(NULL, szProgram, ARRAYSIZE(szProgram) - 1);
    CString strTitle(szProgram);
    strTitle = strTitle.Mid(strTitle.ReverseFind(L'\\') + 1);
    return ::MessageBoxW(::GetActiveWindow(), strMessage, strTitle, nType);
}

CSimpleException::CSimpleException(BOOL bAutoDelete, LPCTSTR pszMessage)
    : CException(bAutoDelete), m_pszMessage(pszMessage)
{
}

BOOL CSimpleException::GetErrorMessage(LPTSTR pszError, UINT nMaxError, UINT* pnHelpContext)
{
    CException::GetErrorMessage(pszError, nMaxError, pnHelpContext);
    if (pszError && nMaxError > 0)
        ::lstrcpynW(pszError, m_pszMessage, static_cast<int>(nMaxError < INT_MAX ? nMaxError : INT_MAX));
    return TRUE;
}

#define IMPLEMENT_SIMPLE_EXCEPTION(class_name, thrower, message)                                                       \
    class_name::class_name(BOOL bAutoDelete) : CSimpleException(bAutoDelete, message) {}                               \
    static class_name shared##class_name(FALSE);                                                                       \
    void AFXAPI thrower()                                                                                              \
    {                                                                                                                  \
        throw &shared##class_name;                                                                                     \
    }

IMPLEMENT_SIMPLE_EXCEPTION(CMemoryException, AfxThrowMemoryException, L"Out of memory.")
IMPLEMENT_SIMPLE_EXCEPTION(CNotSupportedException, AfxThrowNotSupportedException,
                           L"An unsupported operation was attempted.")
IMPLEMENT_SIMPLE_EXCEPTION(CResourceException, AfxThrowResourceException, L"A required resource was unavailable.")
IMPLEMENT_SIMPLE_EXCEPTION(CUserException, AfxThrowUserException, L"The operation was stopped.")
IMPLEMENT_SIMPLE_EXCEPTION(CInvalidArgException, AfxThrowInvalidArgException, L"An argument was out of range.")
