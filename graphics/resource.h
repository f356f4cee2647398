// CVOResource: the raw bytes of one resource of a module.
//
// Ownership  the bytes belong to the module: they are read-only and live as long as it is loaded.
// Threads    one thread at a time.
// Errors     none but IsLoaded: a resource that is not there has no data and the size 0.
#ifndef KORVANE_GRAPHICS_RESOURCE_H
#define KORVANE_GRAPHICS_RESOURCE_H

#include "base/api.h"

#include <windows.h>

class KORVANE_API CVOResource
{
public:
    // Finds and loads the resource at once. module: null is the program. name: the resource's number, or the address of
    // its name. type: a name, or a number made a pointer, such as RT_RCDATA.
    CVOResource(HINSTANCE module, unsigned long name, const TCHAR* type);
    // Both copies stand for the same bytes, with a read position of their own.
    CVOResource(const CVOResource&) = default;
    CVOResource& operator=(const CVOResource&) = default;
    // Hands the loaded handle to DeleteObject, which refuses it: it is none of its objects.
    ~CVOResource();

    bool IsLoaded() const { return m_pData != nullptr; }
    unsigned long GetSize() const { return m_dwSize; } // bytes
    void* GetData() const { return m_pData; }

    // Free for the user; 0 at first. While a CVOImage is decoded from the resource it is the read position, in bytes.
    void SetUserData(unsigned long data) { m_dwUserData = data; }
    unsigned long GetUserData() const { return m_dwUserData; }

private:
    unsigned long m_dwUserData = 0;
    unsigned long m_dwSize = 0;  // bytes
    void* m_pData = nullptr;     // borrowed from the module
    HGLOBAL m_hLoaded = nullptr; // the same address
    HRSRC m_hResource = nullptr; // borrowed
};

#endif
