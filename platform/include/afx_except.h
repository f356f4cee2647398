// afx_except.h - the framework's exceptions: thrown and caught by pointer, deleted through Delete.
//
// Ownership  who catches calls Delete, once; it frees what was made with new and leaves the shared objects alone.
// Threads    the objects that the AfxThrow functions throw are shared and constant.
#ifndef AFX_EXCEPT_H
#define AFX_EXCEPT_H

#include "afx_object.h"

// The base of all of them: catch (CException* e) { ...; e->Delete(); }
class AFX_API CException : public CObject
{
    DECLARE_DYNAMIC(CException)

public:
    CException();                          // made with new: Delete frees it
    explicit CException(BOOL bAutoDelete); // FALSE for objects that live on: Delete does nothing
    virtual ~CException();

    void Delete();
    // What happened, cut to nMaxError characters including the terminator (0: nothing is written). FALSE, and an empty
    // text, if the class has nothing to say. *pnHelpContext becomes 0.
    virtual BOOL GetErrorMessage(LPTSTR pszError, UINT nMaxError, UINT* pnHelpContext = NULL);
    // Shows the message, else the string resource nMessageID, in a box. The box's answer; 0 if it could not be shown.
    virtual int ReportError(UINT nType = MB_OK, UINT nMessageID = 0);

private:
    BOOL m_bAutoDelete;
};

// Exceptions that say one fixed sentence.
class AFX_API CSimpleException : public CException
{
    DECLARE_DYNAMIC(CSimpleException)

public:
    BOOL GetErrorMessage(LPTSTR pszError, UINT nMaxError, UINT* pnHelpContext = NULL) override;

protected:
    CSimpleException(BOOL bAutoDelete, LPCTSTR pszMessage);

private:
    LPCTSTR m_pszMessage; // a constant
};

#define AFX_DECLARE_SIMPLE_EXCEPTION(class_name)                                                                       \
    class AFX_API class_name : public CSimpleException                                                                 \
    {                                                                                                                  \
        DECLARE_DYNAMIC(class_name)                                                                                    \
    public:                                                                                                            \
        explicit class_name(BOOL bAutoDelete = TRUE);                                                                  \
    };

AFX_DECLARE_SIMPLE_EXCEPTION(CMemoryException)       // memory is out, or a size is beyond what can be allocated
AFX_DECLARE_SIMPLE_EXCEPTION(CNotSupportedException) // an operation the object does not have
AFX_DECLARE_SIMPLE_EXCEPTION(CResourceException)     // a resource that is not there
AFX_DECLARE_SIMPLE_EXCEPTION(CUserException)         // stops an operation after the user has been told
AFX_DECLARE_SIMPLE_EXCEPTION(CInvalidArgException)   // an index out of range

// Each throws a pointer to one shared object of its class, so that no memory is needed when none is left.
[[noreturn]] AFX_API void AFXAPI AfxThrowMemoryException();
[[noreturn]] AFX_API void AFXAPI AfxThrowNotSupportedException();
[[noreturn]] AFX_API void AFXAPI AfxThrowResourceException();
[[noreturn]] AFX_API void AFXAPI AfxThrowUserException();
[[noreturn]] AFX_API void AFXAPI AfxThrowInvalidArgException();

// Deletes the exception that a CATCH block was given, when the block is left.
class AfxCaughtException
{
public:
    explicit AfxCaughtException(CException* pException) : m_pException(pException) {}
    ~AfxCaughtException()
    {
        if (m_pException) m_pException->Delete();
    }
    AfxCaughtException(const AfxCaughtException&) = delete;
    AfxCaughtException& operator=(const AfxCaughtException&) = delete;
    void Forget() { m_pException = NULL; }

private:
    CException* m_pException;
};

#define TRY try {
#define CATCH(class_name, e)                                                                                           \
    }                                                                                                                  \
    catch (class_name * e)                                                                                             \
    {                                                                                                                  \
        AfxCaughtException _afxCaught(e);
#define AND_CATCH(class_name, e) CATCH(class_name, e)
#define CATCH_ALL(e) CATCH(CException, e)
#define AND_CATCH_ALL(e) CATCH(CException, e)
#define END_CATCH }
#define END_CATCH_ALL }
#define END_TRY                                                                                                        \
    }                                                                                                                  \
    catch (CException * _afxException)                                                                                 \
    {                                                                                                                  \
        _afxException->Delete();                                                                                       \
    }
#define THROW(e) throw e
#define THROW_LAST() (_afxCaught.Forget(), throw)

#endif
