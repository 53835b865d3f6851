// The records shared with the package server, checked against byte layouts built by hand
// from the documented offsets (not from our own structs).
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "pos_sdk/app.h"
#include "pos_sdk/pkg.h"

namespace {

void putInt(unsigned char *p, int32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<unsigned char>(uint32_t(v) >> (8 * i));
}

}  // namespace

TEST(PkgRecords, InfoRecordReadsFieldsAtTheirOffsets) {
    unsigned char raw[552] = {0};
    std::memcpy(raw + 46, "com.kivo.demo", 13);
    putInt(raw + 79, 1);
    putInt(raw + 83, 2);
    putInt(raw + 87, 3);
    putInt(raw + 91, 0x01020304);
    std::memcpy(raw + 206, "demo application", 16);
    std::memcpy(raw + 296, "Demo", 4);
    putInt(raw + 292, -7);

    ASSERT_EQ(sizeof(PkgAppInfoRecord), sizeof raw);
    PkgAppInfoRecord rec;
    std::memcpy(&rec, raw, sizeof raw);
    EXPECT_STREQ(rec.appId, "com.kivo.demo");
    EXPECT_EQ(rec.verMajor, 1);
    EXPECT_EQ(rec.verMinor, 2);
    EXPECT_EQ(rec.verPatch, 3);
    EXPECT_EQ(rec.verBuild, 0x01020304);
    EXPECT_STREQ(rec.description, "demo application");
    EXPECT_EQ(rec.reserved2, -7);
    EXPECT_STREQ(rec.name, "Demo");
}

TEST(PkgRecords, ListEntryReadsFieldsAtTheirOffsets) {
    unsigned char raw[326] = {0};
    std::memcpy(raw, "app.one", 7);
    putInt(raw + 33, 4);
    putInt(raw + 45, 99);
    std::memcpy(raw + 49, "tools", 5);
    putInt(raw + 66, 1);
    std::memcpy(raw + 70, "One", 3);

    ASSERT_EQ(sizeof(PkgAppListEntry), sizeof raw);
    PkgAppListEntry e;
    std::memcpy(&e, raw, sizeof raw);
    EXPECT_STREQ(e.appId, "app.one");
    EXPECT_EQ(e.verMajor, 4);
    EXPECT_EQ(e.verBuild, 99);
    EXPECT_STREQ(e.category, "tools");
    EXPECT_EQ(e.state, 1);
    EXPECT_STREQ(e.name, "One");
}

TEST(PkgRecords, ApplicationRecordsAreTheDocumentedSizes) {
    // Arrays of these cross into applications built by other compilers.
    EXPECT_EQ(sizeof(OsAppInfoRecord), 64u + 64u + 224u + 32u);
    EXPECT_EQ(offsetof(OsAppInfoRecord, description), 128u);
    EXPECT_EQ(offsetof(OsAppInfoRecord, version), 352u);
    EXPECT_EQ(sizeof(OsAppOptRecord), 96u);
}

TEST(PkgClientArguments, BadPointersAreRefusedBeforeAnyConnection) {
    EXPECT_EQ(PkgGetAppInfo(1, "x", nullptr), -1);
    EXPECT_EQ(PkgGetAppList(1, nullptr, nullptr), -1);
    EXPECT_EQ(PkgFreeAppList(nullptr), 0);
    EXPECT_EQ(OsGetAppInfo(nullptr, 1), -1003);
    OsAppInfoRecord list[1];
    EXPECT_EQ(OsGetAppInfo(list, 0), -1003);
    EXPECT_EQ(OsGetAppInfoByAppid(nullptr, list), -1003);
    EXPECT_EQ(OsRunApp(nullptr), -1003);
    EXPECT_EQ(OsRunApp(""), -1003);
    EXPECT_EQ(OsInstallFile(0, "", 1), -1003);
    EXPECT_EQ(OsInstallFile(0, "/x.pkg", 3), -1015);
    EXPECT_EQ(OsUninstallFile(nullptr, 2), -1015);  // the type is checked first
    EXPECT_EQ(OsUninstallFile("", 1), -1003);
}
