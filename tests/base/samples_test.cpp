// The samples in the headers' comments that no other test has: compiled as they stand there, and run as far as they go
// on files that do not exist.
#include "korvanelib.h"

#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class SamplesTest : public testing::Test
{
protected:
    ~SamplesTest() override { gErrHRESULT = 0; }

    CTempFolder m_folder;
    const std::wstring m_missing = m_folder.File(L"missing.vol");
};

class CNode : public CRefCntBase
{
public:
    explicit CNode(CSmartPtr<CNode> pNext = nullptr) : next(pNext) {}
    CSmartPtr<CNode> next;
};

long ParkAndSucceed()
{
    __iRecordErr(E_OUTOFMEMORY);
    return 0;
}

// base/errorutil.h, with a call in the place of the cursor's.
long TestedByHand(long (*call)())
{
    long hr = call();
    if (gErrHRESULT < 0) {
        hr = gErrHRESULT;
        gErrHRESULT = 0;
    }
    return hr;
}

// korvanedb/row.h
int Walk(CSmartPtr<KorvaneDB::CRow> row)
{
    int nRead = 0;
    _variant_t value;
    long hr;
    for (hr = row->MoveFirst(); hr >= 0 && !row->IsEOF(); hr = row->MoveNext())
        if (row->ReadFromDB() >= 0) nRead += row->getVal(L"Name", value) >= 0;
    return nRead;
}

// korvanedb/connection.h
int Countries(const TCHAR* path)
{
    CSmartPtr<KorvaneDB::CConnection> connection(new KorvaneDB::CConnection);
    CSmartPtr<KorvaneDB::CRow> row;
    if (connection->Open(path) >= 0 && connection->OpenTable(L"Countries", row) >= 0) return Walk(row);
    return -1;
}

// graphics/icon.h
HICON FirstIcon(const TCHAR* path)
{
    CIconLoader loader;
    if (!loader.ReadIconFromICOFile(path)) return nullptr;
    const HICON hIcon = loader.MakeIconFromResource(0);
    return hIcon;
}

// graphics/image.h
bool DrawTwice(HDC dc, const TCHAR* path)
{
    CVOImage image;
    if (!image.Load(dc, path) || !image.IsLoaded()) return false;
    image.Draw(dc, 10, 10, -1, -1); // in its own size
    image.Draw(dc, 10, 80, 32, 32); // stretched
    return true;
}

} // namespace

TEST_F(SamplesTest, ACheckpointByHandAndTheOneOfTheHeaderAgree)
{
    EXPECT_EQ(E_OUTOFMEMORY, TestedByHand(&ParkAndSucceed));
    EXPECT_EQ(0, gErrHRESULT);
    const long hr = KorvaneCheckpoint(ParkAndSucceed());
    EXPECT_EQ(E_OUTOFMEMORY, hr);
    EXPECT_EQ(0, gErrHRESULT);
}

// base/smartptr.h
TEST_F(SamplesTest, AListIsWalkedByHoldingTheNextOneFirst)
{
    CSmartPtr<CNode> p(new CNode(new CNode));
    CSmartPtr<CNode> next = p->next;
    p = next;
    EXPECT_FALSE(p->next);
    EXPECT_EQ(2, p->AddRef()) << "held by the two pointers here, no more by the node before it";
    EXPECT_EQ(2, p->Release());
}

TEST_F(SamplesTest, AMissingVolumeHasNoCountries)
{
    EXPECT_EQ(-1, Countries(m_missing.c_str()));
}

TEST_F(SamplesTest, AMissingFileHasNoIconAndNoPicture)
{
    EXPECT_EQ(nullptr, FirstIcon(m_missing.c_str()));
    const HDC dc = ::CreateCompatibleDC(nullptr);
    EXPECT_FALSE(DrawTwice(dc, m_missing.c_str()));
    ::DeleteDC(dc);
}
