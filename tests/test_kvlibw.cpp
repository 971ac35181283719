// Host registration and file-name helpers of the companion library.
#include "kvlibw/kvlibw.h"

#include <gtest/gtest.h>

#include <string>

namespace {
int KVCALLBACK host(const _KVERRINFO*) {
    return 0;
}
} // namespace

TEST(CallerInstance, RegisterReplaceUnregister) {
    KVUnregisterCallerInstance();
    EXPECT_EQ(KVGetCallerInstancePtr(), nullptr);
    KVRegisterCallerInstance(host, "first.hlp");
    ASSERT_NE(KVGetCallerInstancePtr(), nullptr);
    EXPECT_EQ(KVGetCallerInstancePtr()->GetErrorFunc(), &host);
    EXPECT_STREQ(KVGetCallerInstancePtr()->GetHelpFileNamePtr(), "first.hlp");
    KVRegisterCallerInstance(nullptr, nullptr);
    EXPECT_EQ(KVGetCallerInstancePtr()->GetErrorFunc(), nullptr);
    EXPECT_EQ(KVGetCallerInstancePtr()->GetHelpFileNamePtr(), nullptr);
    const std::string longName(1000, 'h'); // kept to 259 characters
    KVRegisterCallerInstance(host, longName.c_str());
    EXPECT_EQ(std::string(KVGetCallerInstancePtr()->GetHelpFileNamePtr()), longName.substr(0, 259));
    KVUnregisterCallerInstance();
    EXPECT_EQ(KVGetCallerInstancePtr(), nullptr);
}

TEST(FileExt, ExtensionOfTheLastComponentBoundedAndNullSafe) {
    struct Row {
        const char* path;
        bool found;
        const char* ext;
        const char* dropped;
    } rows[] = {
        {"/data/x.y/map.TFW", true, "TFW", "/data/x.y/map"},
        {"C:\\maps\\area.prj", true, "prj", "C:\\maps\\area"},
        {"archive.tar.gz", true, "gz", "archive.tar"},
        {"/data/x.y/noext", false, "", "/data/x.y/noext"},
        {".profile", false, "", ".profile"},
        {"dir/", false, "", "dir/"},
        {"trailingdot.", true, "", "trailingdot"},
        {"", false, "", ""},
    };
    for (const Row& r : rows) {
        char ext[16] = "junk", buf[64];
        EXPECT_EQ(KVGetFileExt(r.path, ext, sizeof ext), r.found) << r.path;
        EXPECT_STREQ(ext, r.ext) << r.path;
        snprintf(buf, sizeof buf, "%s", r.path);
        EXPECT_EQ(KVDropFileExt(buf), r.found) << r.path;
        EXPECT_STREQ(buf, r.dropped) << r.path;
    }
    char ext[4];
    EXPECT_TRUE(KVGetFileExt("file.jpeg2000", ext, sizeof ext));
    EXPECT_STREQ(ext, "jpe");
    EXPECT_FALSE(KVGetFileExt(nullptr, ext, sizeof ext));
    EXPECT_STREQ(ext, "");
    EXPECT_FALSE(KVGetFileExt("a.b", nullptr, 4));
    EXPECT_FALSE(KVGetFileExt("a.b", ext, 0));
    EXPECT_FALSE(KVDropFileExt(nullptr));
}
