// Compiled while the build is configured, to see that the framework's headers refuse what PASS_OBJECT turns on.
#include <afx.h>

void PlainVariadic(const char* pszFormat, ...);

void Call(const CString& str)
{
#ifdef PASS_OBJECT
    PlainVariadic("%S", str);
#else
    PlainVariadic("%S", static_cast<LPCTSTR>(str));
#endif
}
