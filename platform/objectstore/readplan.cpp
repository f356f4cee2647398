#include "readplan.h"

namespace store {

void CReadPlan::Assign(const CShape& shape, const CEPROPID* rgPropID, WORD nCount)
{
    m_values.clear();
    m_numbers.clear();
    m_varying.clear();
    m_bAny = false;
    for (WORD i = 0; i < nCount; ++i) {
        const size_t nSlot = rgPropID ? shape.Find(rgPropID[i]) : i;
        CEPROPVAL value = {};
        if (nSlot == shape.Count()) {
            value.propid = rgPropID[i];
            value.wFlags = CEDB_PROPNOTFOUND;
            m_values.push_back(value);
            continue;
        }
        const CSlot& slot = shape[nSlot];
        const ESlot kind = KindOfSlot(slot.propid);
        value.propid = slot.propid;
        m_values.push_back(value);
        if (kind == ESlot::kVarying)
            m_varying.push_back({i, slot});
        else
            m_numbers.push_back({i, slot.cbOffset, kind});
        m_bAny = true;
    }
}

} // namespace store
