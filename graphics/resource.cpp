#include "graphics/resource.h"

CVOResource::CVOResource(HINSTANCE module, unsigned long name, const TCHAR* type)
    : m_hResource(::FindResourceW(module, reinterpret_cast<const wchar_t*>(name), type))
{
    if (!m_hResource) return;
    m_dwSize = ::SizeofResource(module, m_hResource);
    m_hLoaded = ::LoadResource(module, m_hResource);
    m_pData = m_hLoaded; // the handle of a loaded resource is its address
}

CVOResource::~CVOResource()
{
    if (m_hLoaded) ::DeleteObject(m_hLoaded);
}
