// CVOResource.
#include "graphics/resource.h"

#include "image_support.h"
#include "image_ids.h"
#include "support/import_patch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <utility>

namespace {

unsigned long NameOf(const wchar_t* name)
{
    return reinterpret_cast<unsigned long>(name);
}

std::vector<HGDIOBJ> g_deleted;

BOOL WINAPI NoteDeleteObject(HGDIOBJ object)
{
    g_deleted.push_back(object);
    return FALSE;
}

} // namespace

TEST(ResourceTest, HasTheBytesOfTheResource)
{
    const CVOResource text(nullptr, IDR_TEXT, RT_RCDATA);
    ASSERT_TRUE(text.IsLoaded());
    EXPECT_EQ(10u, text.GetSize());
    EXPECT_EQ(0, std::memcmp("0123456789", text.GetData(), 10));
    const CVOResource photo(::GetModuleHandleW(nullptr), IDR_PHOTO, RT_RCDATA);
    const Bytes file = FileBytes(PicturePath(L"photo.png"));
    ASSERT_EQ(file.size(), photo.GetSize());
    EXPECT_EQ(0, std::memcmp(file.data(), photo.GetData(), file.size()));
}

TEST(ResourceTest, IsFoundByNumberAndByName)
{
    EXPECT_TRUE(CVOResource(nullptr, IDR_SMALL, L"PICTURE").IsLoaded());
    EXPECT_TRUE(CVOResource(nullptr, NameOf(L"photo"), L"PICTURE").IsLoaded());
}

TEST(ResourceTest, IsFoundInAnyModule)
{
    const HMODULE other = ::LoadLibraryW(L"graphics_other.dll");
    ASSERT_NE(nullptr, other);
    EXPECT_TRUE(CVOResource(other, IDR_OTHER_PHOTO, L"PICTURE").IsLoaded());
    EXPECT_FALSE(CVOResource(other, IDR_PHOTO, RT_RCDATA).IsLoaded());
    EXPECT_FALSE(CVOResource(nullptr, IDR_OTHER_PHOTO, L"PICTURE").IsLoaded());
    ::FreeLibrary(other);
}

TEST(ResourceTest, WhatIsNotThereIsEmpty)
{
    static const struct
    {
        const char* why;
        HINSTANCE module;
        unsigned long name;
        const wchar_t* type;
    } kCases[] = {
        {"no such number", nullptr, IDR_ABSENT, RT_RCDATA},
        {"another type", nullptr, IDR_TEXT, L"PICTURE"},
        {"no such name", nullptr, NameOf(L"absent"), L"PICTURE"},
        {"no type", nullptr, IDR_TEXT, nullptr},
        {"number 0", nullptr, 0, RT_RCDATA},
        {"the address of nothing", nullptr, 0xFFFF0000, RT_RCDATA},
        {"not a module", reinterpret_cast<HINSTANCE>(0x10000), IDR_TEXT, RT_RCDATA},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.why);
        const CVOResource resource(c.module, c.name, c.type);
        EXPECT_FALSE(resource.IsLoaded());
        EXPECT_EQ(0u, resource.GetSize());
        EXPECT_EQ(nullptr, resource.GetData());
    }
}

TEST(ResourceTest, TheUserDataAreTheUsers)
{
    CVOResource resource(nullptr, IDR_TEXT, RT_RCDATA);
    EXPECT_EQ(0u, resource.GetUserData());
    resource.SetUserData(0xFFFFFFFF);
    EXPECT_EQ(0xFFFFFFFFu, resource.GetUserData());
}

TEST(ResourceTest, ACopyHasAllOfIt)
{
    CVOResource text(nullptr, IDR_TEXT, RT_RCDATA), other(nullptr, IDR_ABSENT, RT_RCDATA);
    text.SetUserData(7);
    other = text;
    const CVOResource third(text);
    text.SetUserData(8);
    for (const CVOResource* copy : {&std::as_const(other), &third}) {
        EXPECT_EQ(text.GetData(), copy->GetData());
        EXPECT_EQ(10u, copy->GetSize());
        EXPECT_EQ(7u, copy->GetUserData());
        EXPECT_TRUE(copy->IsLoaded());
    }
}

TEST(ResourceTest, TheDestructorHandsTheLoadedHandleToDeleteObject)
{
    const CImportPatch patch(L"korvaneLib.dll", "DeleteObject", &NoteDeleteObject);
    g_deleted.clear();
    void* data;
    {
        const CVOResource text(nullptr, IDR_TEXT, RT_RCDATA), absent(nullptr, IDR_ABSENT, RT_RCDATA);
        data = text.GetData();
    }
    EXPECT_EQ(std::vector<HGDIOBJ>{data}, g_deleted);
}
