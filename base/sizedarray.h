// CSizedArray: an owned block of bytes with its size, reference counted.
//
// Ownership  the array owns the block and frees it. A copy (constructor or assignment) refers to the same block: of
//            arrays that share one, all but one must let go of it in another way than by being destroyed or
//            refilled. copyFrom makes a copy of its own.
// Threads    one thread at a time.
// Errors     out of memory is result 0; nothing is raised or thrown.
//
// When the data is not null it has room for the size at least. The reverse does not hold: after an init that failed the
// size stands and the data is null, so isEmpty looks at the data.
#ifndef KORVANE_BASE_SIZEDARRAY_H
#define KORVANE_BASE_SIZEDARRAY_H

#include "base/refcount.h"

class KORVANE_API CSizedArray : public CRefCntBase
{
public:
    CSizedArray() = default;
    CSizedArray(const CSizedArray&) = default;
    CSizedArray& operator=(const CSizedArray&) = default;
    ~CSizedArray() override;

    // Frees the block and makes a new one of `size` bytes, not cleared; for 0 bytes none. 1, or 0 when memory is out:
    // the size is then `size` and the data null.
    int init(unsigned long size);
    // Changes the size and keeps the content. Up to the current size the block stays as it is; beyond it the content
    // moves to a new block, whose further bytes are not cleared. 1, or 0 when memory is out: nothing has changed.
    int setSize(unsigned long size);
    // Makes the content a copy of the other one's. 1, or 0 when memory is out, as init leaves it. Of an array that has
    // the same block (itself, or a copy that shares) only the size is taken over.
    int copyFrom(CSizedArray& other);
    // Frees the block: size 0, data null.
    void done();

    // The block, valid until the next init, setSize, copyFrom or done; null when there is none.
    unsigned char* getData() const { return m_pData; }
    // 1 when the data is null, else 0.
    int isEmpty() const { return m_pData == nullptr; }
    // In bytes.
    unsigned long getSize() const { return m_cbSize; }

private:
    unsigned long m_cbSize = 0;
    unsigned char* m_pData = nullptr; // owned
};

#endif
