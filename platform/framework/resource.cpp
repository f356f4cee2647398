#include "afx.h"

namespace {

HINSTANCE g_hResource;     // borrowed; NULL: the program's own module
CDynLinkLibrary* g_pFirst; // the libraries, last listed first

} // namespace

HINSTANCE AFXAPI AfxGetInstanceHandle()
{
    return ::GetModuleHandleW(NULL);
}

HINSTANCE AFXAPI AfxGetResourceHandle()
{
    return g_hResource ? g_hResource : AfxGetInstanceHandle();
}

void AFXAPI AfxSetResourceHandle(HINSTANCE hInstance)
{
    g_hResource = hInstance;
}

HINSTANCE AFXAPI AfxFindResourceHandle(LPCTSTR pszName, LPCTSTR pszType)
{
    const HINSTANCE hCurrent = AfxGetResourceHandle();
    if (::FindResourceW(hCurrent, pszName, pszType)) return hCurrent;
    if (const HINSTANCE hLibrary = CDynLinkLibrary::FindResourceHandle(pszName, pszType)) return hLibrary;
    const HINSTANCE hProgram = AfxGetInstanceHandle();
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
