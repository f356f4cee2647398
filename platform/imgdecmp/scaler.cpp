#include "scaler.h"

#include <algorithm>

CScaler::CScaler(PixelSize from, PixelSize to)
    : m_from(from), m_to(to), m_bSameSize(from.width == to.width && from.height == to.height), m_missing(from.height)
{
    if (m_bSameSize) return;
    m_across.resize(3 * to.width);
    m_down.resize(3 * to.width);
    m_result.resize(3 * to.width);
}

void CScaler::SumAcross(const BYTE* pbRow)
{
    // As in AddRow: a source pixel is `to.width` units wide, a pixel of the result `from.width`.
    double* pSum = m_across.data();
    unsigned int missing = m_from.width;
    double blue = 0, green = 0, red = 0;
    for (const BYTE* const pbEnd = pbRow + 3 * m_from.width; pbRow < pbEnd; pbRow += 3) {
        for (unsigned int left = m_to.width; left > 0;) {
            const unsigned int part = std::min(left, missing);
            blue += static_cast<double>(part) * pbRow[0];
            green += static_cast<double>(part) * pbRow[1];
            red += static_cast<double>(part) * pbRow[2];
            left -= part;
            missing -= part;
            if (missing > 0) continue;
            *pSum++ = blue;
            *pSum++ = green;
            *pSum++ = red;
            blue = green = red = 0;
            missing = m_from.width;
        }
    }
}

void CScaler::AddDown(unsigned int weight)
{
    for (size_t i = 0; i < m_down.size(); ++i) m_down[i] += weight * m_across[i];
}

void CScaler::FinishRow()
{
    const double area = static_cast<double>(m_from.width) * m_from.height;
    for (size_t i = 0; i < m_down.size(); ++i) {
        m_result[i] = static_cast<BYTE>(m_down[i] / area + 0.5);
        m_down[i] = 0;
    }
}
