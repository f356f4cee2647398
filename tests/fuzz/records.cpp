// Records of a volume: a shape's list of properties, then the record's own bytes.
#include "target.h"

#include "record.h"

using namespace store;

void fuzz::records(const uint8_t* data, size_t size)
{
    CInput input(data, size);
    size_t cbList = input.Byte();
    if (cbList > input.Size()) cbList = input.Size();
    const CBytes list = {input.Rest(), cbList}, value = {input.Rest() + cbList, input.Size() - cbList};

    CShape shape;
    WORD wShape = 0;
    CBytes inlineList;
    if (!CRecordView::ShapeOf(value, wShape, inlineList)) return;
    if (!shape.Assign(wShape == kInlineShape ? inlineList : list)) return;
    shape.SetId(wShape);
    CRecordView view;
    if (!view.Attach(value, shape)) return;
    const uint8_t* const pEnd = value.p + value.cb;
    for (size_t i = 0; i <= shape.Count(); ++i) {
        CField field;
        const bool bGood = i < shape.Count() ? view.Get(i, field) : view.Find(0x7FFF0003, field);
        if (!bGood || i == shape.Count()) continue;
        FUZZ_EXPECT(field.propid == shape[i].propid);
        if (field.form == CField::kNumber) continue;
        const size_t cb = field.form == CField::kWide ? field.cch * 2 : field.cch;
        FUZZ_EXPECT(field.p >= value.p && field.p <= pEnd && cb <= static_cast<size_t>(pEnd - field.p));
        if (field.form == CField::kBlob) continue;
        wchar_t* const text = new wchar_t[(field.cch + 2) & ~1u]; // a whole number of words
        ExpandText(text, field);
        FUZZ_EXPECT(text[field.cch] == 0);
        delete[] text;
    }
}
