// The rules by which wide text names the files of a Unix host.
#include <platform/native_path.h>

#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>

namespace Quoll::Platform
{

namespace
{

std::string ToNative(const std::u16string& path)
{
    std::filesystem::path native;
    return PathToNative(path, native) ? native.native() : "error " + std::to_string(GetLastError());
}

TEST(NativePathRules, TextToBytes)
{
    const struct
    {
        std::u16string path;
        std::string native;
    } rows[] = {
        {u"C:\\home\\x", "/home/x"},
        {u"c:/home/x", "/home/x"},
        {u"\\home\\x", "/home/x"},
        {u"/home/x", "/home/x"},
        {u"a\\b/c", "a/b/c"},
        {u"", ""},
        {u"C:\\", "/"},
        {u"C:", "."},
        {u"C:name", "name"},
        {u"C:\\\\a\\\\b\\", "//a//b/"},
        {u"\\\\?\\C:\\a b", "/a b"},
        {u"C:\\Windows\\System32\\drivers\\etc\\hosts", "/etc/hosts"},
        {u"\\WINDOWS\\system32\\Drivers\\ETC", "/etc"},
        {u"C:\\Windows\\System32\\drivers\\etcetera", "/Windows/System32/drivers/etcetera"},
        {u"C:\\\u00E4\U0001F600", "/\xC3\xA4\xF0\x9F\x98\x80"},
        {u"C:\\a\xDC5C\xDCFF"
         u"b",
         "/a\\\xFF"
         "b"},
        {u"1:x", "1:x"},
        {u"D:\\x", "error 3"},
        {u"\\\\server\\share", "error 53"},
        {u"//server/share", "error 53"},
        {u"\\\\?\\UNC\\server\\share", "error 53"},
        {u"\\\\?\\Volume{1}\\x", "error 123"},
        {u"\\\\.\\pipe\\x", "error 123"},
        {std::u16string(u"C:\\a\0b", 6), "error 123"},
        {u"C:\\\xD800", "error 123"},
        {u"C:\\\xD800x", "error 123"},
        {u"C:\\\xDC41", "error 123"},
        {u"C:\\\xDCC3\xDCA4", "error 123"},             // is U+00E4 in plain spelling
        {u"C:\\\xDC80\xDCC3\xDCA4\xDC80", "error 123"}, // within a run, too
        {u"C:\\\xDCF0\xDC9F\xDC98\xDC80", "error 123"},
        {u"C:\\\xDCED\xDCA0\xDC80", "/\xED\xA0\x80"}, // a surrogate in UTF-8 is none
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(ToNative(row.path), row.native);
    }
}

TEST(NativePathRules, BytesToText)
{
    EXPECT_EQ(PathFromNative("/home/x"), u"C:\\home\\x");
    EXPECT_EQ(PathFromNative("a/b"), u"a\\b");
    EXPECT_EQ(PathFromNative("D:x"), u".\\D:x");
    EXPECT_EQ(PathFromNative("/a\\b"), u"C:\\a\xDC5C"
                                       u"b");
    EXPECT_EQ(PathFromNative("/\xC3(\xE4"), u"C:\\\xDCC3(\xDCE4");
}

TEST(NativePathRules, EveryHostNameComesBack)
{
    std::mt19937 random(1);
    const std::string pieces[] = {"/",    "\\",   "a",    ":",        "C:",       ".",
                                  "\x80", "\xC3", "\xA4", "\xF0\x9F", "\x98\x80", "\xED\xA0\x80"};
    for (int round = 0; round < 20000; ++round)
    {
        std::string native = round % 2 == 0 ? "/" : "";
        for (unsigned left = random() % 8; left > 0; --left)
        {
            native += pieces[random() % std::size(pieces)];
        }
        const std::u16string path = PathFromNative(native);
        const std::string again = ToNative(path);
        ASSERT_EQ(again.starts_with("./") && !native.starts_with("./") ? again.substr(2) : again, native);
    }
}

TEST(NativePathRules, LongInputIsBoundedInTime)
{
    const std::string native(1 << 20, '\x80');
    EXPECT_EQ(ToNative(PathFromNative(native)), native);
}

} // namespace

} // namespace Quoll::Platform
