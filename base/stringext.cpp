#include "base/stringext.h"

#include <stdlib.h>

CStringExt::CStringExt(const CString& text) : CString(text) {}

CStringExt::CStringExt(TCHAR ch, int nRepeat) : CString(ch, nRepeat) {}

CStringExt::CStringExt(const char* text) : CString(text) {}

CStringExt::CStringExt(const unsigned char* text)
{
    CString::operator=(text);
}

CStringExt::CStringExt(const TCHAR* text) : CString(text) {}

CStringExt::CStringExt(const TCHAR* text, int nLength) : CString(text, nLength) {}

unsigned int CStringExt::GetUnsigned()
{
    return static_cast<unsigned int>(::_wtol(*this));
}

bool CStringExt::GetFloat(float& result)
{
    const int point = Find(L'.');
    const CString whole = point < 0 ? CString(*this) : Left(point);

    float sign = 1.0f;
    bool hasSign = false;
    for (int i = 0; i < whole.GetLength(); ++i) {
        const TCHAR ch = whole[i];
        if (ch == L'+' || ch == L'-') {
            if (hasSign) return false;
            hasSign = true;
            sign = ch == L'-' ? -1.0f : 1.0f;
        } else if (ch < L'0' || ch > L'9') {
            return false;
        }
    }

    float fraction = 0;
    float weight = 0.1f;
    for (int i = point < 0 ? GetLength() : point + 1; i < GetLength(); ++i) {
        const TCHAR ch = GetAt(i); // a second point is no digit either
        if (ch < L'0' || ch > L'9') return false;
        fraction += static_cast<float>(ch - L'0') * weight;
        weight *= 0.1f;
    }

    result = (fraction + static_cast<float>(::_wtol(whole))) * sign;
    return true;
}
