// _variant_t, as far as the readers use it.
#ifndef KORVANE_FUZZ_COMDEF_H
#define KORVANE_FUZZ_COMDEF_H

#include "oleauto.h"

class _variant_t : public VARIANT
{
public:
    _variant_t() { VariantInit(this); }
    _variant_t(const _variant_t& other) : _variant_t() { VariantCopy(this, &other); }
    ~_variant_t() { VariantClear(this); }
    _variant_t& operator=(const _variant_t& other)
    {
        VariantCopy(this, &other);
        return *this;
    }
    _variant_t& operator=(const wchar_t* psz)
    {
        VariantClear(this);
        bstrVal = SysAllocString(psz);
        vt = VT_BSTR;
        return *this;
    }
    void Clear() { VariantClear(this); }
};

#endif
