#include "attachnew.h"

#include "afxwin.h"

IMPLEMENT_DYNAMIC(CClientDC, CDC)
IMPLEMENT_DYNAMIC(CWindowDC, CDC)
IMPLEMENT_DYNAMIC(CPaintDC, CDC)

CClientDC::CClientDC(CWnd* pWnd) : m_hWnd(pWnd->GetSafeHwnd())
{
    if (!AttachNew(*this, ::GetDC(m_hWnd), [=](HDC hDC) { ::ReleaseDC(m_hWnd, hDC); })) AfxThrowResourceException();
}

CClientDC::~CClientDC()
{
    if (m_hDC) ::ReleaseDC(m_hWnd, Detach());
}

CWindowDC::CWindowDC(CWnd* pWnd) : m_hWnd(pWnd->GetSafeHwnd())
{
    if (!AttachNew(*this, ::GetWindowDC(m_hWnd), [=](HDC hDC) { ::ReleaseDC(m_hWnd, hDC); }))
        AfxThrowResourceException();
}

CWindowDC::~CWindowDC()
{
    if (m_hDC) ::ReleaseDC(m_hWnd, Detach());
}

CPaintDC::CPaintDC(CWnd* pWnd) : m_hWnd(pWnd->GetSafeHwnd())
{
    if (!AttachNew(*this, ::BeginPaint(m_hWnd, &m_ps), [=](HDC) { ::EndPaint(m_hWnd, &m_ps); }))
        AfxThrowResourceException();
}

CPaintDC::~CPaintDC()
{
    if (m_hDC) {
        ::EndPaint(m_hWnd, &m_ps);
        Detach();
    }
}
