// CScaler: changes a picture's size row by row; every pixel of the result is the average of the area that it covers.
//
// The rows hold blue, green and red, a byte each, without padding. Only one row of sums is kept, so a large picture
// becomes a small bitmap without ever being whole in memory. Equal sizes give equal pixels.
#ifndef KORVANE_IMGDECMP_SCALER_H
#define KORVANE_IMGDECMP_SCALER_H

#include "outputsize.h"

#include <vector>

class CScaler
{
public:
    // REQUIRES: both sizes are within the pixel limit.
    CScaler(PixelSize from, PixelSize to);

    // Takes the next row of the picture. `sink(y, row)` gets every row of the result that is complete with it, from the
    // top down. REQUIRES: called once for each of the picture's rows.
    template <class Sink> void AddRow(const BYTE* pbRow, Sink sink)
    {
        if (m_bSameSize) {
            sink(m_y++, pbRow);
            return;
        }
        SumAcross(pbRow);
        // A source row is `to.height` units high, a row of the result `from.height`: their common measure.
        for (unsigned int left = m_to.height; left > 0;) {
            const unsigned int part = left < m_missing ? left : m_missing;
            AddDown(part);
            left -= part;
            m_missing -= part;
            if (m_missing > 0) continue;
            FinishRow();
            sink(m_y++, m_result.data());
            m_missing = m_from.height;
        }
    }

private:
    void SumAcross(const BYTE* pbRow);
    void AddDown(unsigned int weight);
    void FinishRow();

    const PixelSize m_from;
    const PixelSize m_to;
    const bool m_bSameSize;
    // Whole numbers below 2^53, so the sums are exact: at most 255 * from.width * from.height.
    std::vector<double> m_across; // the source row, scaled in width
    std::vector<double> m_down;   // what the present row of the result has so far
    std::vector<BYTE> m_result;
    unsigned int m_missing; // units that the present row of the result still lacks
    unsigned int m_y = 0;   // the present row of the result
};

#endif
