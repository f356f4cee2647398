// Dialog templates: whether one lies wholly in its resource.
#include "target.h"

#include "dialogtemplate.h"

void fuzz::templates(const uint8_t* data, size_t size)
{
    const BOOL bSound = IsDialogTemplateSound(data, static_cast<DWORD>(size));
    // What is sound is so with more behind it, and no template is shorter than its head.
    if (!bSound) return;
    FUZZ_EXPECT(size >= 18);
    uint8_t* const longer = new uint8_t[size + 5]();
    std::memcpy(longer, data, size);
    FUZZ_EXPECT(IsDialogTemplateSound(longer, static_cast<DWORD>(size + 5)));
    delete[] longer;
}
