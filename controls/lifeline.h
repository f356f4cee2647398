// CLifeline, CLifelineGuard: lets a function notice that a nested message loop has destroyed its own object.
//
// Ownership  a lifeline is a member of the object that it stands for; guards are local variables of its functions.
// Threads    the object's.
// Errors     none.
//
//     CLifelineGuard guard(m_lifeline);
//     AfxMessageBox(strText);     // whatever a host does meanwhile
//     if (guard.IsGone()) return; // not even "this" may be used any more
#ifndef KORVANE_CONTROLS_LIFELINE_H
#define KORVANE_CONTROLS_LIFELINE_H

class CLifelineGuard;

class CLifeline
{
public:
    CLifeline() = default;
    inline ~CLifeline();
    CLifeline(const CLifeline&) = delete;
    CLifeline& operator=(const CLifeline&) = delete;

private:
    friend class CLifelineGuard;

    CLifelineGuard* m_pInnermost = nullptr; // those that live, the last one first
};

class CLifelineGuard
{
public:
    explicit CLifelineGuard(CLifeline& lifeline) : m_pLifeline(&lifeline), m_pOuter(lifeline.m_pInnermost)
    {
        lifeline.m_pInnermost = this;
    }
    ~CLifelineGuard()
    {
        if (m_pLifeline) m_pLifeline->m_pInnermost = m_pOuter;
    }
    CLifelineGuard(const CLifelineGuard&) = delete;
    CLifelineGuard& operator=(const CLifelineGuard&) = delete;

    // Whether the object has been destroyed since.
    bool IsGone() const { return !m_pLifeline; }

private:
    friend class CLifeline;

    CLifeline* m_pLifeline; // null: gone
    CLifelineGuard* m_pOuter;
};

inline CLifeline::~CLifeline()
{
    for (CLifelineGuard* pGuard = m_pInnermost; pGuard; pGuard = pGuard->m_pOuter) pGuard->m_pLifeline = nullptr;
}

#endif
