// afx_resource.h - the modules in which the framework looks for strings, dialogs and pictures.
//
// Ownership  module handles are borrowed; a CDynLinkLibrary is on the list as long as it lives.
// Threads    set up at start; afterwards any thread may look.
#ifndef AFX_RESOURCE_H
#define AFX_RESOURCE_H

#include "afx_object.h"

// The program's own module.
AFX_API HINSTANCE AFXAPI AfxGetInstanceHandle();
// The module that is asked first; the program's own until set. NULL sets it back to that.
AFX_API HINSTANCE AFXAPI AfxGetResourceHandle();
AFX_API void AFXAPI AfxSetResourceHandle(HINSTANCE hInstance);
// The first module that has the resource: the current one, the listed libraries (last listed first), then the program.
// The current one if none has it.
AFX_API HINSTANCE AFXAPI AfxFindResourceHandle(LPCTSTR pszName, LPCTSTR pszType);

// Puts a library's module on that list, typically as a static object of the library.
class AFX_API CDynLinkLibrary
{
public:
    explicit CDynLinkLibrary(HINSTANCE hModule);
    ~CDynLinkLibrary();
    CDynLinkLibrary(const CDynLinkLibrary&) = delete;
    CDynLinkLibrary& operator=(const CDynLinkLibrary&) = delete;

    // The first listed library that has the resource; NULL if none has.
    static HINSTANCE FindResourceHandle(LPCTSTR pszName, LPCTSTR pszType);

private:
    const HINSTANCE m_hModule;
    CDynLinkLibrary* m_pNext;
};

#endif
