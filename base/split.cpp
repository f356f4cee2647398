#include "base/split.h"

std::vector<CString> Split(CString source, CString separator, int start, int count)
{
    std::vector<CString> pieces;
    if (count != -1 && count < 1) return pieces;
    int position = start < 0 ? 0 : start;
    for (int found; (found = source.Find(separator, position)) >= 0; position = found + 1) {
        pieces.push_back(source.Mid(position, found - position));
    }
    pieces.push_back(source.Mid(position));
    return pieces;
}
