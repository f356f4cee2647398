#include "dialogtemplate.h"

namespace {

// Reads on through a template; m_bSound is false once something lay behind the end.
class CTemplateReader
{
public:
    CTemplateReader(const void* pStart, DWORD cb) : m_p(static_cast<const BYTE*>(pStart)), m_cb(cb) {}

    bool Skip(DWORD cb)
    {
        if (cb > m_cb - m_nAt) m_bSound = false;
        if (m_bSound) m_nAt += cb;
        return m_bSound;
    }
    WORD Word()
    {
        const DWORD nAt = m_nAt;
        return Skip(sizeof(WORD)) ? static_cast<WORD>(m_p[nAt] | m_p[nAt + 1] << 8) : WORD(0);
    }
    DWORD Long()
    {
        const DWORD nLow = Word();
        return nLow | static_cast<DWORD>(Word()) << 16;
    }
    // A menu, a class or a title: nothing, a number after 0xFFFF, or a text.
    void Name()
    {
        WORD w = Word();
        if (w == 0xFFFF) {
            Word();
            return;
        }
        while (w && m_bSound) w = Word();
    }
    void Align()
    {
        const DWORD nOver = m_nAt % sizeof(DWORD);
        if (nOver) Skip(sizeof(DWORD) - nOver);
    }
    bool IsSound() const { return m_bSound; }

private:
    const BYTE* const m_p;
    const DWORD m_cb;
    DWORD m_nAt = 0;
    bool m_bSound = true;
};

} // namespace

BOOL IsDialogTemplateSound(const void* pTemplate, DWORD cbTemplate)
{
    if (!pTemplate) return FALSE;
    CTemplateReader reader(pTemplate, cbTemplate);
    const DWORD dwFirst = reader.Long();
    const bool bExtended = dwFirst == 0xFFFF0001;
    DWORD dwStyle = dwFirst;
    reader.Skip(bExtended ? 8 : 4);
    if (bExtended) dwStyle = reader.Long();
    const WORD nItems = reader.Word();
    reader.Skip(8);
    for (int i = 0; i < 3; ++i) reader.Name(); // menu, class, title
    if ((dwStyle & DS_SETFONT) && reader.Word() != 0x7FFF) {
        reader.Skip(bExtended ? 4 : 0);
        reader.Name();
    }
    for (WORD i = 0; i < nItems && reader.IsSound(); ++i) {
        reader.Align();
        reader.Skip(bExtended ? 24 : 18);
        reader.Name();
        reader.Name();
        const WORD cbExtra = reader.Word();
        // The plain form counts the size word itself.
        reader.Skip(!bExtended && cbExtra >= 2 ? cbExtra - 2 : cbExtra);
    }
    return reader.IsSound();
}

LPCDLGTEMPLATE LoadDialogTemplate(LPCTSTR pszName, HINSTANCE* phInstance)
{
    *phInstance = AfxFindResourceHandle(pszName, RT_DIALOG);
    const HRSRC hResource = ::FindResourceW(*phInstance, pszName, RT_DIALOG);
    const HGLOBAL hTemplate = hResource ? ::LoadResource(*phInstance, hResource) : NULL;
    const void* const pTemplate = hTemplate ? ::LockResource(hTemplate) : NULL;
    if (!pTemplate || !IsDialogTemplateSound(pTemplate, ::SizeofResource(*phInstance, hResource))) return NULL;
    return static_cast<LPCDLGTEMPLATE>(pTemplate);
}
