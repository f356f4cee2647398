// The edits: docs/volume-format.md has the file's layout, the engine's own that of its pages.
#include "volume_edits.h"

#include <algorithm>

namespace {

constexpr size_t kPage = 4096, kHead = 12, kNodeHead = 8;
constexpr size_t kMetaTrees = kHead + 16, kTreesBytes = 56; // then the last page, then the transaction
constexpr size_t kHeaderState = 40, kHeaderTrees = 48, kHeaderChecksum = 104;

class CEditor
{
public:
    CEditor(std::vector<uint8_t>& image, fuzz::CInput& input) : m_image(image), m_input(input) {}

    void Run()
    {
        for (int n = m_input.Byte() % 16; n > 0 && m_input.Size() > 0; --n) Edit();
    }

    // Most volumes of a stranger's have headers that look sound.
    void FixChecksums()
    {
        for (size_t at = 2 * kPage; at + kPage <= m_image.size() && at < 4 * kPage; at += kPage) {
            uint32_t hash = 0x811C9DC5;
            for (size_t i = 0; i < kHeaderChecksum; ++i) hash = (hash ^ m_image[at + i]) * 0x01000193;
            Put(at + kHeaderChecksum, hash, 4);
        }
    }

private:
    size_t PageCount() const { return m_image.size() / kPage; }
    uint32_t Get(size_t at, int cb) const
    {
        uint32_t value = 0;
        if (at + cb <= m_image.size()) std::memcpy(&value, &m_image[at], cb);
        return value;
    }
    void Put(size_t at, uint32_t value, int cb)
    {
        if (at + cb <= m_image.size()) std::memcpy(&m_image[at], &value, cb);
    }
    uint32_t Short()
    {
        const uint32_t low = m_input.Byte();
        return low | m_input.Byte() << 8;
    }
    // A small number in one byte, one that somebody may have forgotten in one byte, any in five.
    uint32_t Value()
    {
        const uint8_t b = m_input.Byte();
        const uint32_t nPages = static_cast<uint32_t>(PageCount());
        switch (b) {
        case 0xFF:
            return 0xFFFFFFFF;
        case 0xFE:
            return 0xFFFFFFFE;
        case 0xFD:
            return 0x7FFFFFFF;
        case 0xFC:
            return 0x80000000;
        case 0xFB:
            return 0xFFFF;
        case 0xFA:
            return 0x7FFF;
        case 0xF9:
            return kPage;
        case 0xF8:
            return kPage - 2;
        case 0xF7:
            return nPages;
        case 0xF6:
            return nPages - 1;
        case 0xF5:
            return m_input.Word();
        case 0xF4:
            return Short();
        default:
            return b;
        }
    }
    size_t SomePage() { return m_input.Byte() % PageCount() * kPage; }
    size_t SomeNode(size_t page)
    {
        const size_t nKeys = (Get(page + kHead - 4, 2) - kHead) / 2;
        const size_t n = m_input.Byte();
        return page + std::min<size_t>(Get(page + kHead + n % (nKeys && nKeys < 2048 ? nKeys : 1) * 2, 2), kPage - 1);
    }
    // A word of the state that both metas and both headers tell: trees, last page, transaction.
    void SetState(size_t nWord, uint32_t value)
    {
        const bool bTrees = nWord < kTreesBytes / 4;
        for (size_t n = 0; n < 2; ++n) {
            Put(n * kPage + kMetaTrees + nWord * 4, value, 4);
            Put((2 + n) * kPage + (bTrees ? kHeaderTrees + nWord * 4 : kHeaderState + (nWord * 4 - kTreesBytes)), value,
                4);
        }
    }

    void Edit()
    {
        const uint8_t kind = m_input.Byte();
        if (PageCount() == 0) return;
        const size_t page = SomePage();
        switch (kind % 16) {
        case 0: // a byte
        {
            const size_t at = page + Short() % kPage;
            Put(at, m_input.Byte(), 1);
            break;
        }
        case 1: // a word
        {
            const size_t at = page + Short() % kPage;
            Put(at, Value(), 4);
            break;
        }
        case 2: // of a page's head: its number, flags, bounds; or the number of pages of a large value
        {
            static constexpr struct
            {
                uint8_t at, cb;
            } kFields[] = {{0, 4}, {4, 2}, {6, 2}, {8, 2}, {10, 2}, {8, 4}};
            const auto field = kFields[m_input.Byte() % std::size(kFields)];
            Put(page + field.at, Value(), field.cb);
            break;
        }
        case 3: // where an entry lies
        {
            const size_t at = page + kHead + m_input.Byte() * 2;
            Put(at, Value(), 2);
            break;
        }
        case 4: // of an entry's head: length of the value or the branch's page, flags, length of the key
        {
            const size_t node = SomeNode(page);
            const size_t at = node + m_input.Byte() % 4 * 2;
            Put(at, Value(), 2);
            break;
        }
        case 5: // a byte of its key
        {
            const size_t node = SomeNode(page);
            const size_t at = node + kNodeHead + Short() % (Get(node + 6, 2) % 512 + 1);
            Put(at, m_input.Byte(), 1);
            break;
        }
        case 6: // a byte of its value
        case 7: // a word of it: also the page of a large one
        {
            const size_t value = SomeNode(page);
            const size_t at =
                value + kNodeHead + Get(value + 6, 2) % 512 + (kind % 2 ? m_input.Byte() : Short() % kPage);
            Put(at, kind % 2 ? Value() : m_input.Byte(), kind % 2 ? 4 : 1);
            break;
        }
        case 8: // a page twice
        {
            const size_t other = SomePage();
            if (other == page) break;
            std::memcpy(&m_image[page], &m_image[other], kPage);
            if (kind & 0x10) Put(page, static_cast<uint32_t>(page / kPage), 4); // under its own number
            break;
        }
        case 9: // two entries change places
        {
            const size_t one = page + kHead + m_input.Byte() * 2, two = page + kHead + m_input.Byte() * 2;
            const uint32_t keep = Get(one, 2);
            Put(one, Get(two, 2), 2);
            Put(two, keep, 2);
            break;
        }
        case 10: // of the state
        {
            const size_t nWord = m_input.Byte() % 16;
            SetState(nWord, Value());
            break;
        }
        case 11: // of the header alone: in use, boot mark, state
        {
            const size_t at = 8 + m_input.Byte() % 24 * 4;
            const uint32_t value = Value();
            Put(2 * kPage + at, value, 4);
            Put(3 * kPage + at, value, 4);
            break;
        }
        case 12: // the file's length
        {
            const size_t nPages = PageCount() + m_input.Byte() % 4 > page / kPage ? page / kPage : 1;
            m_image.resize(kind & 0x10 ? m_image.size() + m_input.Byte() * 16 : nPages * kPage);
            break;
        }
        case 13: // the page that a branch leads to
        {
            const size_t node = SomeNode(page);
            const uint32_t child = Value();
            Put(node, child, 2);
            Put(node + 2, child >> 16, 2);
            break;
        }
        case 14: // of the metas alone
        {
            const size_t at = kHead + m_input.Byte() % 20 * 4;
            const uint32_t value = Value();
            Put(at, value, 4);
            if (kind & 0x10) Put(kPage + at, value, 4);
            break;
        }
        default: // a run of bytes
        {
            const size_t at = page + Short() % kPage;
            const size_t cb = std::min<size_t>(m_input.Byte(), m_image.size() - at);
            std::fill_n(m_image.begin() + at, cb, m_input.Byte());
        }
        }
    }

    std::vector<uint8_t>& m_image;
    fuzz::CInput& m_input;
};

} // namespace

void fuzz::EditVolume(std::vector<uint8_t>& image, CInput& input)
{
    const bool bRaw = input.Byte() & 1;
    CEditor editor(image, input);
    editor.Run();
    if (!bRaw) editor.FixChecksums();
}
