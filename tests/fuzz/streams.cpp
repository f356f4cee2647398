// Streams: the first byte says how many readings follow, a byte each; the rest is what is read. A memory stream must
// give what a stream that goes byte by byte gives.
#include "target.h"

#include "base/bytestream.h"

using KorvaneIO::CByteInputStream;
using KorvaneIO::CInputStream;

namespace {

// A subclass, and therefore without the short cuts.
class CBytewise : public CByteInputStream
{
public:
    using CByteInputStream::CByteInputStream;
    unsigned char ReadByte() override { return CByteInputStream::ReadByte(); }
};

void Add(std::string& read, const void* pv, size_t cb)
{
    read.append(static_cast<const char*>(pv), cb);
}

template <class T> void Number(CInputStream& in, std::string& read)
{
    T value = 0;
    in >> value;
    Add(read, &value, sizeof value);
}

void Text(CInputStream& in, std::string& read)
{
    CString text;
    in >> text;
    Add(read, static_cast<LPCTSTR>(text), text.GetLength() * sizeof(TCHAR));
}

void Variant(CInputStream& in, std::string& read)
{
    _variant_t value;
    in >> value;
    Add(read, &value.vt, sizeof value.vt);
    switch (V_VT(&value)) {
    case VT_BSTR:
        if (value.bstrVal) Add(read, value.bstrVal, ::SysStringLen(value.bstrVal) * sizeof(wchar_t));
        break;
    case VT_R8:
    case VT_DATE:
        Add(read, &value.dblVal, sizeof value.dblVal);
        break;
    case VT_R4:
    case VT_I4:
    case VT_UI4:
        Add(read, &value.lVal, sizeof value.lVal);
        break;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
        Add(read, &value.iVal, sizeof value.iVal);
        break;
    case VT_I1:
    case VT_UI1:
        Add(read, &value.bVal, sizeof value.bVal);
        break;
    default:
        // Only the type was set; the rest is not the variant's.
        FUZZ_EXPECT(V_VT(&value) == VT_EMPTY || V_VT(&value) == VT_NULL);
        V_VT(&value) = VT_EMPTY;
    }
}

void Array(CInputStream& in, std::string& read)
{
    CSizedArray array;
    const int nResult = in.readArray(array);
    read += static_cast<char>('0' + nResult);
    if (nResult && !array.isEmpty() && array.getSize() < 0x10000) Add(read, array.getData(), array.getSize());
}

void Block(CInputStream& in, std::string& read)
{
    unsigned char block[7] = {};
    const int cb = in.ReadBytes(block, sizeof block);
    FUZZ_EXPECT(cb >= 0 && cb <= static_cast<int>(sizeof block));
    Add(read, block, sizeof block);
}

void Move(CInputStream& in, std::string&)
{
    in.setCurrentPosition(3);
}

constexpr void (*kReadings[])(CInputStream&, std::string&) = {Number<unsigned char>,
                                                              Number<short>,
                                                              Number<long>,
                                                              Number<unsigned int>,
                                                              Number<bool>,
                                                              Number<float>,
                                                              Number<double>,
                                                              Text,
                                                              Variant,
                                                              Array,
                                                              Block,
                                                              Move};

std::string Read(CInputStream& in, const uint8_t* kinds, size_t nKinds)
{
    std::string read;
    for (size_t i = 0; i < nKinds; ++i) kReadings[kinds[i] % (sizeof kReadings / sizeof *kReadings)](in, read);
    long position = -1;
    in.getCurrentStreamPosition(position);
    Add(read, &position, sizeof position);
    const long error = in.getError();
    Add(read, &error, sizeof error);
    return read;
}

} // namespace

void fuzz::streams(const uint8_t* data, size_t size)
{
    CInput input(data, size);
    size_t nKinds = input.Byte() % 32;
    if (nKinds > input.Size()) nKinds = input.Size();
    const uint8_t* const kinds = input.Rest();
    const size_t cb = input.Size() - nKinds;
    auto* const bytes = const_cast<unsigned char*>(kinds + nKinds);
    CByteInputStream memory(bytes, cb);
    CBytewise bytewise(bytes, cb);
    const std::string first = Read(memory, kinds, nKinds), second = Read(bytewise, kinds, nKinds);
    FUZZ_EXPECT(first == second);
    long position = -1;
    memory.getCurrentStreamPosition(position);
    FUZZ_EXPECT(position >= 0 && static_cast<size_t>(position) <= cb);
}
