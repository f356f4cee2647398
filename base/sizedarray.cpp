#include "base/sizedarray.h"

#include <cstring>
#include <new>

CSizedArray::~CSizedArray()
{
    done();
}

int CSizedArray::init(unsigned long size)
{
    done();
    m_cbSize = size;
    if (size == 0) return 1;
    m_pData = new (std::nothrow) unsigned char[size];
    return m_pData != nullptr;
}

int CSizedArray::setSize(unsigned long size)
{
    if (size <= m_cbSize) {
        m_cbSize = size;
        return 1;
    }
    const unsigned long cbOld = m_cbSize;
    unsigned char* const pOld = m_pData;
    m_cbSize = 0;
    m_pData = nullptr;
    if (!init(size)) {
        m_cbSize = cbOld;
        m_pData = pOld;
        return 0;
    }
    if (pOld) {
        std::memcpy(m_pData, pOld, cbOld);
        delete[] pOld;
    }
    return 1;
}

int CSizedArray::copyFrom(CSizedArray& other)
{
    // The block of an array that shares this one's must not be freed before it is read.
    if (&other == this || (m_pData && m_pData == other.m_pData)) {
        m_cbSize = other.m_cbSize;
        return 1;
    }
    if (!init(other.getSize())) return 0;
    // A size without data is what a failed init left in the other one.
    if (other.m_pData && m_cbSize) std::memcpy(m_pData, other.m_pData, m_cbSize);
    return 1;
}

void CSizedArray::done()
{
    delete[] m_pData;
    m_cbSize = 0;
    m_pData = nullptr;
}
