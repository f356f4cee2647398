#include "threadstate.h"

#include "afx_app.h"

namespace {

AFX_MODULE_STATE g_program; // the program's own
CDynLinkLibrary* g_pFirst;  // the libraries, last listed first

} // namespace

AFX_MODULE_STATE* AFXAPI AfxGetStaticModuleState()
{
    return &g_program;
}

AFX_MODULE_STATE* AFXAPI AfxGetModuleState()
{
    CThreadState* const pState = CThreadState::GetIfAny();
    return pState && pState->m_pModuleState ? pState->m_pModuleState : &g_program;
}

AFX_MODULE_STATE* AFXAPI AfxSetModuleState(AFX_MODULE_STATE* pNewState)
{
    AFX_MODULE_STATE* const pBefore = AfxGetModuleState();
    CThreadState::Get().m_pModuleState = pNewState;
    return pBefore;
}

HINSTANCE AFXAPI AfxGetInstanceHandle()
{
    const HINSTANCE hInstance = AfxGetModuleState()->m_hCurrentInstanceHandle;
    return hInstance ? hInstance : ::GetModuleHandleW(NULL);
}

HINSTANCE AFXAPI AfxGetResourceHandle()
{
    const HINSTANCE hResource = AfxGetModuleState()->m_hCurrentResourceHandle;
    return hResource ? hResource : AfxGetInstanceHandle();
}

void AFXAPI AfxSetResourceHandle(HINSTANCE hInstance)
{
    AfxGetModuleState()->m_hCurrentResourceHandle = hInstance;
}

HINSTANCE AFXAPI AfxFindResourceHandle(LPCTSTR pszName, LPCTSTR pszType)
{
    const HINSTANCE hCurrent = AfxGetResourceHandle();
    if (::FindResourceW(hCurrent, pszName, pszType)) return hCurrent;
    if (const HINSTANCE hLibrary = CDynLinkLibrary::FindResourceHandle(pszName, pszType)) return hLibrary;
    const HINSTANCE hProgram = ::GetModuleHandleW(NULL);
    return ::FindResourceW(hProgram, pszName, pszType) ? hProgram : hCurrent;
}

CDynLinkLibrary::CDynLinkLibrary(HINSTANCE hModule) : m_hModule(hModule), m_pNext(g_pFirst)
{
    g_pFirst = this;
}

CDynLinkLibrary::~CDynLinkLibrary()
{
    CDynLinkLibrary** ppLink = &g_pFirst;
    while (*ppLink != this) ppLink = &(*ppLink)->m_pNext;
    *ppLink = m_pNext;
}

HINSTANCE CDynLinkLibrary::FindResourceHandle(LPCTSTR pszName, LPCTSTR pszType)
{
    for (const CDynLinkLibrary* pLibrary = g_pFirst; pLibrary; pLibrary = pLibrary->m_pNext) {
        if (::FindResourceW(pLibrary->m_hModule, pszName, pszType)) return pLibrary->m_hModule;
    }
    return NULL;
}
