// Rows over a store, a heap and conversions whose calls fail one after the other: result, source, line and message are
// those of the call's raise, and the row can be used or let go.
#include "database_fixture.h"

TEST_F(DatabaseFaultTest, ARowWhoseIndexCannotBeSetIsStillDestroyable)
{
    const CEOID oid = AddItem(1, L"one");
    for (const DWORD dwError : kErrors) {
        SCOPED_TRACE(dwError);
        bool bRecord = false;
        FailEachCall(
            "SetIndex",
            [&] {
                CSmartPtr<CRow> row = OpenRow();
                EXPECT_EQ(0, row->MoveFirst());
                long hr;
                {
                    const CFailingStore store(dwError);
                    hr = Raised([&] { return row->SetIndex(L"ByName"); });
                }
                EXPECT_EQ(hr == 0 ? kName : 0xFFFFFFFF, COpenRow(*row).m_propidIndex);
                row = nullptr;
                bRecord = gErrHRESULT < 0;
                if (bRecord) ExpectRecordOfRow();
                return hr;
            },
            [&](const char* pszFunction, int, long lResult) {
                if (IsOneOf(pszFunction, {"CeCloseHandle@4"})) {
                    ExpectRow(488, "Unable to close previous database", lResult);
                } else if (IsOneOf(pszFunction, {"CeOpenDatabaseEx@24"})) {
                    ExpectRow(497, "Unable to open database", lResult);
                    EXPECT_TRUE(bRecord) << "there was no handle to close";
                } else {
                    EXPECT_STREQ("CeSeekDatabase@16", pszFunction);
                    ExpectRow(562, "Set bookmark failed", lResult);
                }
            });
    }
    EXPECT_EQ(0, m_row->setBookmark(oid));
}

TEST_F(DatabaseFaultTest, AMoveThatFailsReachesNoRecord)
{
    AddItem(1, L"one");
    AddItem(2, L"two");
    CSmartPtr<CRow> row = OpenRow();
    ASSERT_EQ(0, row->SetIndex(L"ById"));
    for (const DWORD dwError : kErrors) {
        SCOPED_TRACE(dwError);
        const CFailingStore store(dwError);
        const auto none = [&](const char* pszFunction, int, long lResult) {
            EXPECT_STREQ("CeSeekDatabase@16", pszFunction);
            EXPECT_EQ(0, lResult) << "no record is no error";
            EXPECT_EQ("", m_raise);
            EXPECT_EQ(0u, row->getBookmark());
        };
        FailEachCall(
            "MoveFirst", [&] { return Raised([&] { return row->MoveFirst(); }); },
            [&](const char* pszFunction, int nCall, long lResult) {
                none(pszFunction, nCall, lResult);
                EXPECT_TRUE(row->IsEOF() && row->IsBOF());
            });
        FailEachCall(
            "MoveLast", [&] { return Raised([&] { return row->MoveLast(); }); },
            [&](const char* pszFunction, int nCall, long lResult) {
                none(pszFunction, nCall, lResult);
                EXPECT_TRUE(row->IsEOF() && row->IsBOF());
            });
        row->MoveFirst();
        FailEachCall(
            "MoveNext", [&] { return Raised([&] { return row->MoveNext(); }); },
            [&](const char* pszFunction, int nCall, long lResult) {
                none(pszFunction, nCall, lResult);
                EXPECT_TRUE(row->IsEOF());
            });
        row->MoveLast();
        FailEachCall(
            "MovePrev", [&] { return Raised([&] { return row->MovePrev(); }); },
            [&](const char* pszFunction, int nCall, long lResult) {
                none(pszFunction, nCall, lResult);
                EXPECT_TRUE(row->IsBOF());
            });
        FailEachCall(
            "Seek", [&] { return Raised([&] { return row->Seek(KorvaneDB::SeekValueFirstEqual, _variant_t(2L)); }); },
            [&](const char* pszFunction, int, long lResult) {
                EXPECT_STREQ("CeSeekDatabase@16", pszFunction);
                EXPECT_EQ(1, lResult) << "nothing was found";
                EXPECT_TRUE(row->IsEOF());
                EXPECT_EQ(0u, row->getBookmark());
            });
        ASSERT_EQ(0, row->MoveLast());
        const unsigned long ulBookmark = row->getBookmark();
        FailEachCall(
            "setBookmark", [&] { return Raised([&] { return row->setBookmark(ulBookmark); }); },
            [&](const char*, int, long lResult) {
                ExpectRow(562, "Set bookmark failed", lResult);
                EXPECT_EQ(0u, row->getBookmark());
            });
        EXPECT_EQ(std::vector<long>({1, 2}), Walk(*row));
    }
}

TEST_F(DatabaseFaultTest, AReadThatFailsLeavesRecordAndValues)
{
    const CEOID oid = AddItem(1, L"one");
    for (const DWORD dwError : kErrors) {
        SCOPED_TRACE(dwError);
        const CFailingStore store(dwError);
        ASSERT_EQ(0, m_row->MoveFirst());
        ASSERT_EQ(0, m_row->ReadFromDB());
        FailEachCall(
            "ReadFromDB", [&] { return Raised([&] { return m_row->ReadFromDB(); }); },
            [&](const char*, int, long lResult) {
                ExpectReadRaise(dwError, lResult);
                EXPECT_EQ(oid, m_row->getBookmark());
                _variant_t value;
                EXPECT_EQ(0, m_row->getVal(L"Name", value));
                EXPECT_EQ("BSTR:one", Describe(value));
            });
    }
}

TEST_F(DatabaseFaultTest, AWriteThatFailsHasNoRecordAndWritesNothing)
{
    const CEOID oid = AddItem(1, L"one");
    for (const DWORD dwError : kErrors) {
        SCOPED_TRACE(dwError);
        FailEachCall(
            "WriteToDB",
            [&] {
                EXPECT_EQ(0, m_row->setBookmark(oid));
                EXPECT_EQ(0, m_row->ReadFromDB());
                const CFailingStore store(dwError);
                return Raised([&] { return m_row->WriteToDB(); });
            },
            [&](const char*, int, long lResult) {
                ExpectRow(380, "Call to function CeWriteRecordProps(...) failed", lResult);
                EXPECT_EQ(0u, m_row->getBookmark());
            });
        unsigned long ulRows = 0;
        EXPECT_EQ(0, m_row->getNumRows(ulRows));
        EXPECT_EQ(1u, ulRows);
    }
}

TEST_F(DatabaseFaultTest, ADeletionThatFailsKeepsTheRecord)
{
    for (const DWORD dwError : kErrors) {
        SCOPED_TRACE(dwError);
        CEOID oid = 0;
        FailEachCall(
            "Delete",
            [&] {
                if (!oid) oid = AddItem(1, L"one");
                EXPECT_EQ(0, m_row->setBookmark(oid));
                const CFailingStore store(dwError);
                const long hr = Raised([&] { return m_row->Delete(); });
                if (hr == 0) oid = 0;
                return hr;
            },
            [&](const char* pszFunction, int, long lResult) {
                if (IsOneOf(pszFunction, {"CeDeleteRecord@8"})) {
                    ExpectRow(600, "Error deleting record from database", lResult);
                    EXPECT_EQ(oid, m_row->getBookmark());
                } else {
                    EXPECT_STREQ("CeSeekDatabase@16", pszFunction);
                    ExpectNone(lResult);
                    EXPECT_TRUE(m_row->IsEOF());
                }
            });
    }
}

TEST_F(DatabaseFaultTest, ACountThatFailsRaises)
{
    AddItem(1, L"one");
    for (const DWORD dwError : kErrors) {
        SCOPED_TRACE(dwError);
        const CFailingStore store(dwError);
        unsigned long ulRows = 99;
        FailEachCall(
            "getNumRows",
            [&] {
                ulRows = 99;
                return Raised([&] { return m_row->getNumRows(ulRows); });
            },
            [&](const char*, int, long lResult) {
                ExpectRow(610, "Call to function CeOidGetInfo(...) failed", lResult);
                EXPECT_EQ(99u, ulRows);
            });
    }
}

TEST_F(DatabaseFaultTest, AFilterWhoseSeekFailsFindsNothing)
{
    AddItem(1, L"one");
    CSmartPtr<CRow> row = OpenRow();
    ASSERT_EQ(0, row->SetIndex(L"ById"));
    ASSERT_EQ(0, row->SetFilter(_variant_t(1L)));
    for (const DWORD dwError : kErrors) {
        SCOPED_TRACE(dwError);
        const CFailingStore store(dwError);
        FailEachCall(
            "MoveFirst with a filter", [&] { return Raised([&] { return row->MoveFirst(); }); },
            [&](const char*, int, long lResult) {
                ExpectNone(lResult);
                EXPECT_TRUE(row->IsEOF() && row->IsBOF());
            });
        EXPECT_FALSE(row->IsEOF());
    }
}

TEST_F(DatabaseFaultTest, AHeapThatFailsRaisesAndKeepsTheBuffer)
{
    const CFailing<&::HeapReAlloc> grow(kLibrary, "HeapReAlloc", nullptr, ERROR_NOT_ENOUGH_MEMORY);
    const CFailing<&::HeapSize> size(kLibrary, "HeapSize", static_cast<SIZE_T>(-1), ERROR_NOT_ENOUGH_MEMORY);
    const CFailing<&::HeapFree> free(kLibrary, "HeapFree", FALSE, ERROR_INVALID_PARAMETER, EWork::kDone);
    AddItem(1, std::wstring(6000, L'x').c_str());
    FailEachCall(
        "read what is larger than the buffer",
        [&] {
            CSmartPtr<CRow> row = OpenRow();
            EXPECT_EQ(0, row->MoveFirst());
            return Raised([&] { return row->ReadFromDB(); });
        },
        [&](const char* pszFunction, int, long lResult) {
            if (IsOneOf(pszFunction, {"HeapReAlloc"})) {
                ExpectRow(78, "Call to function HeapReAlloc(...) failed", lResult);
            } else {
                EXPECT_STREQ("HeapFree", pszFunction);
                ExpectNone(lResult);
                ExpectRecordOfRow();
            }
        });
    FailEachCall(
        "write what is larger than the buffer",
        [&] {
            CSmartPtr<CRow> row = OpenRow();
            EXPECT_EQ(0, row->AddNew());
            _variant_t name = Bstr(std::wstring(6000, L'y').c_str());
            EXPECT_EQ(0, row->setVal(L"Name", name));
            const long hr = Raised([&] { return row->WriteToDB(); });
            EXPECT_EQ(hr < 0, row->getBookmark() == 0);
            if (hr == 0) {
                EXPECT_EQ(0, row->Delete());
            }
            return hr;
        },
        [&](const char* pszFunction, int, long lResult) {
            if (IsOneOf(pszFunction, {"HeapSize"})) {
                ExpectRow(327, "Call to funcion HeapSize(...) failed", lResult);
            } else if (IsOneOf(pszFunction, {"HeapReAlloc"})) {
                ExpectRow(335, "Call to function HeapRealloc(...) failed", lResult);
            } else {
                EXPECT_STREQ("HeapFree", pszFunction);
                ExpectNone(lResult);
                ExpectRecordOfRow();
            }
        });
}

TEST_F(DatabaseFaultTest, AConversionThatFailsHasItsOwnCode)
{
    static constexpr HRESULT kNoDate = DISP_E_OVERFLOW;
    const CFailing<&::SystemTimeToFileTime> toFile(kLibrary, "SystemTimeToFileTime", FALSE, ERROR_INVALID_PARAMETER);
    const CFailing<&::FileTimeToSystemTime> toSystem(kLibrary, "FileTimeToSystemTime", FALSE, ERROR_INVALID_PARAMETER);
    const CFailing<&::VarUdateFromDate> fromDate(kLibrary, "VarUdateFromDate", kNoDate, 0);
    const CFailing<&::VarDateFromUdate> fromUdate(kLibrary, "VarDateFromUdate", kNoDate, 0);
    CEPROPVAL prop = {};
    prop.propid = kWhen;
    _variant_t date = OfType(VT_DATE);
    V_DATE(&date) = 38000.5000001; // no whole second: those need no call
    FailEachCall(
        "a date to a file time", [&] { return Raised([&] { return CRow::getPropvalFromVariant(&prop, date); }); },
        [&](const char* pszFunction, int, long lResult) {
            if (IsOneOf(pszFunction, {"VarUdateFromDate"})) {
                EXPECT_EQ(kNoDate, lResult);
                EXPECT_EQ("", m_raise) << "it is passed on";
            } else {
                ExpectRaise("korvanedb/row", 144, HRESULT_FROM_WIN32(ERROR_INVALID_PARAMETER),
                            "Call to SystemTimeToFileTime(...) failed", lResult);
            }
        });
    prop.val.filetime.dwLowDateTime += 1;
    _variant_t back;
    FailEachCall(
        "a file time to a date",
        [&] {
            back = 5L;
            return Raised([&] { return CRow::getVariantFromPropval(&prop, back); });
        },
        [&](const char* pszFunction, int, long lResult) {
            if (IsOneOf(pszFunction, {"VarDateFromUdate"})) {
                EXPECT_EQ(kNoDate, lResult);
                EXPECT_EQ("", m_raise);
            } else {
                ExpectRow(206, "FileTimeToSystemTime failed", lResult);
            }
            EXPECT_EQ("I4:5", Describe(back)) << "the caller's value is as it was";
        });
    EXPECT_NEAR(38000.5, V_DATE(&back), 1e-4);
}

TEST_F(DatabaseFaultTest, AVariantThatCannotBeCopiedOrClearedIsAComError)
{
    static constexpr HRESULT kBadType = DISP_E_BADVARTYPE;
    const CFailing<&::VariantCopy> copy(kLibrary, "VariantCopy", kBadType, 0);
    const CFailing<&::VariantClear> clear(kLibrary, "VariantClear", kBadType, 0, EWork::kDone);
    const auto orError = [](const auto& call) {
        try {
            return call();
        } catch (const _com_error& error) {
            return static_cast<long>(error.Error());
        }
    };
    const auto bad = [](const char*, int, long lResult) { EXPECT_EQ(kBadType, lResult); };
    // The run-time library makes something for the first exception.
    EXPECT_EQ(kBadType, orError([]() -> long { throw _com_error(kBadType); }));
    CSmartPtr<CRow> row = OpenRow();
    const _variant_t text = Bstr(L"a text");
    FailEachCall(
        "SetFilter", [&] { return orError([&] { return row->SetFilter(text); }); }, bad);
    _variant_t filter;
    FailEachCall(
        "GetFilter", [&] { return orError([&] { return row->GetFilter(filter); }); }, bad);
    FailEachCall(
        "setVal over a text",
        [&] {
            return orError([&] {
                _variant_t value = Bstr(L"a text");
                const long hr = row->setVal(L"Name", value);
                if (hr < 0) return hr;
                value = Null();
                return row->setVal(L"Name", value);
            });
        },
        bad);
}
