#include "Quoll/Errors.h"
#include "Quoll/File.h"
#include "filesystem/FileSupport.h"
#include "support/ForcedFailure.h"
#include "support/ReferenceText.h"

#include <gtest/gtest.h>

#include <random>

namespace
{

using namespace Quoll::Literals;
using namespace Quoll::Tests;
using namespace Quoll::Utilities;
using Quoll::WChar;
using Quoll::WString;
using Lines = std::vector<WString>;
using namespace std::string_literals;

constexpr FileEncoding Encodings[] = {FileEncoding::Utf8NoBom, FileEncoding::Utf8Bom, FileEncoding::Utf16Le,
                                      FileEncoding::Utf16Be};
constexpr auto Unlisted = static_cast<FileEncoding>(4);

class FileText : public testing::Test
{
protected:
    WString Read()
    {
        return File::ReadAllText(m_path, m_encoding);
    }
    void ExpectRead(std::string_view bytes, FileEncoding encoding)
    {
        PutBytes(m_path, ReferenceMark(encoding).append(bytes));
        ASSERT_TRUE(Read() == ReferenceText(bytes, encoding));
        ASSERT_EQ(m_encoding, encoding);
    }
    std::string Written(const WString& text, FileEncoding encoding)
    {
        File::WriteAllText(m_path, text, encoding);
        return TakeBytes(m_path);
    }
    Lines LinesOf(std::string_view bytes)
    {
        PutBytes(m_path, bytes);
        return File::ReadAllLines(m_path);
    }
    Lines UnicodeLinesOf(const WString& text, FileEncoding encoding = FileEncoding::Utf16Le)
    {
        File::WriteAllText(m_path, text, encoding);
        return File::ReadAllUnicodeLines(m_path);
    }

    TestFolder m_folder;
    WString m_path = m_folder / "text";
    FileEncoding m_encoding = Unlisted;
};

TEST_F(FileText, TheMarkAloneTellsTheEncoding)
{
    const std::pair<std::string, FileEncoding> files[] = {
        {"", FileEncoding::Utf8NoBom},
        {"\xFF", FileEncoding::Utf8NoBom},
        {"\xFF\xFE", FileEncoding::Utf16Le},
        {"\xFF\xFE\0\0"s, FileEncoding::Utf16Le},
        {"\xFE\xFF", FileEncoding::Utf16Be},
        {"\xEF\xBB", FileEncoding::Utf8NoBom},
        {"\xEF\xBB\xBE", FileEncoding::Utf8NoBom},
        {"\xEF\xBB\xBF\xFF", FileEncoding::Utf8Bom},
        {"x\xFF\xFE", FileEncoding::Utf8NoBom},
        {"\0a"s, FileEncoding::Utf8NoBom},
    };
    for (const auto& [bytes, encoding] : files)
    {
        PutBytes(m_path, bytes);
        EXPECT_EQ(File::GetFileEncoding(m_path), encoding) << testing::PrintToString(bytes);
    }
}

TEST_F(FileText, AllCodePointsComeBack)
{
    WString text;
    for (char32_t character = 0; character <= 0x10FFFF; ++character)
    {
        if (character >> 11 != 27)
        {
            Append(text, character);
        }
    }
    for (const FileEncoding encoding : Encodings)
    {
        const std::string bytes = Written(text, encoding);
        ASSERT_TRUE(bytes.starts_with(ReferenceMark(encoding)));
        EXPECT_TRUE(ReferenceText(std::string_view(bytes).substr(ReferenceMark(encoding).size()), encoding) == text);
        EXPECT_TRUE(Read() == text);
        EXPECT_EQ(m_encoding, encoding);
    }
}

TEST_F(FileText, AnEmptyTextHasNoMark)
{
    for (const FileEncoding encoding : Encodings)
    {
        EXPECT_EQ(Written({}, encoding), "");
        EXPECT_EQ(Written(WString(1, 0xDC00), encoding), "") << "the mark comes with the first character";
    }
    m_encoding = Unlisted;
    EXPECT_EQ(Read(), ""_w);
    EXPECT_EQ(m_encoding, Unlisted);
}

TEST_F(FileText, ReadingEndsBeforeTheFirstSequenceThatIsWrong)
{
    const std::string ends[] = {"\xE9t\xE9 and more", "\xC0\x80",     "\xED\xA0\x80xx", "\xF4\x90\x80\x80",
                                "\xE2\x82",           "\xF0\x9F\x98", "\x80",           "\xFF\xFE"};
    for (const std::string& end : ends)
    {
        ExpectRead("ab\xC3\xA9" + end, FileEncoding::Utf8NoBom);
        ExpectRead(end, FileEncoding::Utf8Bom);
    }
    const std::string halves[] = {"\xD8\0a\0"s, "\0\xDC\0"s, "\0\xD8", "\0\xD8\0\xD8\0\xDC"s, "\xDC\0"s, "a", ""};
    for (const std::string& half : halves)
    {
        ExpectRead("\x20\x20" + half, FileEncoding::Utf16Le);
        ExpectRead("\x20\x20" + half, FileEncoding::Utf16Be);
    }
    // A second mark is a character.
    ExpectRead("\xEF\xBB\xBFx", FileEncoding::Utf8Bom);
    ExpectRead("\xFF\xFE", FileEncoding::Utf16Le);
}

TEST_F(FileText, TheCutIsExactAroundTheBordersOfBlocks)
{
    const std::string sequences[] = {"\xF0\x9F\x98\x80", "\xE2\x82\xAC",     "\xC3\xA9",        "\xF0\x9F\x98",
                                     "\xED\xA0\x80",     "\xD8\x3D\xDE\x01", "\x3D\xD8\x01\xDE"};
    for (const std::size_t border : {std::size_t{4096}, std::size_t{65536}})
    {
        for (std::size_t before = border - 4; before <= border + 1; ++before)
        {
            const std::string padding(before, 'm');
            for (const std::string& sequence : sequences)
            {
                for (const FileEncoding encoding : Encodings)
                {
                    ExpectRead(padding + sequence, encoding);
                    ExpectRead(padding + sequence + "more to come", encoding);
                }
            }
        }
    }
}

TEST_F(FileText, RandomBytesAreReadAsTheOracleReadsThem)
{
    std::mt19937 random(20260731);
    const std::string parts[] = {"a", "z z", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\x3D\xD8", "\0\xDE"s};
    for (int round = 0; round < 60; ++round)
    {
        std::string bytes;
        while (bytes.size() < 150000)
        {
            const bool isWrong = random() % 60000 == 0;
            bytes += isWrong ? "\xFF\xDC" : parts[random() % std::size(parts) % (round % 7 + 1)];
        }
        ExpectRead(bytes, Encodings[random() % 4]);
    }
}

TEST_F(FileText, WritingEndsBeforeTheFirstUnitThatIsNoCharacter)
{
    for (const std::size_t before : {0, 1, 87380, 87381, 87382, 131070, 131071, 131072})
    {
        const WString good(before, 0x20AC);
        for (const FileEncoding encoding : Encodings)
        {
            Written(good, encoding);
            const std::string expected = TakeBytes(m_path);
            EXPECT_EQ(expected.empty(), before == 0);
            EXPECT_TRUE(Written(good + WString(1, 0xD800) + "after"_w, encoding) == expected);
            EXPECT_TRUE(Written(good + WString(1, 0xD800), encoding) == expected);
            EXPECT_TRUE(Written(good + WString(1, 0xDFFF) + "after"_w, encoding) == expected);
        }
    }
    EXPECT_EQ(Written("a\n\u00FFb\u0100c"_w, Unlisted), "a\n\xFF"s + "b");
}

TEST_F(FileText, WhatIsMissingIsTold)
{
    for (const WString& path : {m_path, m_folder.Path()})
    {
        const std::function<void()> readers[] = {[&] { File::GetFileEncoding(path); },
                                                 [&] { File::ReadAllText(path, m_encoding); },
                                                 [&] { File::ReadAllLines(path); },
                                                 [&] {
                                                     File::ReadAllUnicodeLines(path);
                                                 }};
        for (const auto& read : readers)
        {
            EXPECT_EQ(FileCode("File does not exist: ", read), 2u);
        }
    }
    EXPECT_EQ(m_encoding, Unlisted);
    const WString nowhere = m_folder / "no folder/text";
    File::WriteAllLines(nowhere, {"x"_w}); // tells nothing
    File::WriteAllUnicodeLines(nowhere, {"x"_w});
}

TEST_F(FileText, FailuresOfThePlatformAreToldWhereTheyCanBe)
{
    PutBytes(m_path, std::string(200000, 'a'));
    const auto codeOf = [](const auto& action) {
        return FileCode("Cannot open the file: ", action);
    };
    {
        const ForcedFailure failure(ForcedCall::CreateFileW, ERROR_ACCESS_DENIED, {.nth = 1, .later = true});
        EXPECT_EQ(codeOf([&] { Read(); }), 5u);
        EXPECT_EQ(codeOf([&] { File::GetFileEncoding(m_path); }), 5u);
        EXPECT_EQ(codeOf([&] { File::ReadAllUnicodeLines(m_path); }), 5u);
        EXPECT_EQ(codeOf([&] { File::WriteAllText(m_path, "x"_w, FileEncoding::Utf8Bom); }), 5u);
        EXPECT_TRUE(File::ReadAllLines(m_path).empty());
    }
    for (const std::size_t nth : {1, 2, 3})
    {
        const ForcedFailure failure(ForcedCall::ReadFile, ERROR_IO_DEVICE, {.nth = nth});
        EXPECT_EQ(codeOf([&] { Read(); }), 1117u) << nth;
    }
    {
        const ForcedFailure failure(ForcedCall::ReadFile, ERROR_IO_DEVICE, {.nth = 3});
        EXPECT_EQ(codeOf([&] { File::ReadAllUnicodeLines(m_path); }), 1117u);
    }
    const ForcedFailure readFailure(ForcedCall::ReadFile, ERROR_IO_DEVICE, {.nth = 2, .later = true});
    EXPECT_EQ(File::ReadAllLines(m_path), Lines{WString(65536, 'a')}) << "ends where reading failed";
    const ForcedFailure failure(ForcedCall::WriteFile, ERROR_DISK_FULL, {.nth = 2, .later = true});
    File::WriteAllText(m_path, WString(200000, 'b'), FileEncoding::Utf16Be);
    EXPECT_EQ(File::GetSize(m_path), 262144u);
    File::WriteAllLines(m_path, {WString(200000, 'b'), "x"_w});
    EXPECT_EQ(File::GetSize(m_path), 0u);
}

TEST_F(FileText, TextLines)
{
    const std::pair<std::string, Lines> files[] = {
        {"", {}},
        {"\n", {""_w}},
        {"a\r\nb\n\nc", {"a"_w, "b"_w, ""_w, "c"_w}},
        {"a\n", {"a"_w}},
        {"\r\r\na\rb\r", {"\r"_w, "a\rb\r"_w}},
        {"a\nb\x1A\nc", {"a"_w, "b"_w}},
        {"a\n\x1A", {"a"_w}},
        {"\xE9\xFF\0\x80"s, {WString{0xE9, 0xFF, 0, 0x80}}},
    };
    for (const auto& [bytes, lines] : files)
    {
        EXPECT_EQ(LinesOf(bytes), lines) << testing::PrintToString(bytes);
        // The same across the border of blocks.
        for (std::size_t before = 65530; before <= 65536; ++before)
        {
            Lines all(2, WString(before / 2 - 1, '-'));
            all.insert(all.end(), lines.begin(), lines.end());
            const std::string line = std::string(before / 2 - 1, '-') + "\n";
            ASSERT_TRUE(LinesOf(std::string(before % 2, '\n') + line + line + bytes) ==
                        (before % 2 ? (all.insert(all.begin(), WString()), all) : all));
        }
    }
}

TEST_F(FileText, TextLinesAreWrittenAsBytes)
{
    File::WriteAllLines(m_path, {"a\nb"_w, ""_w, "\r\x1A\u00E9"_w});
    EXPECT_EQ(TakeBytes(m_path), "a\r\nb\r\n\r\n\r\x1A\xE9\r\n");
    File::WriteAllLines(m_path, {"kept"_w, "as far as \u0100 this"_w, "lost"_w});
    EXPECT_EQ(TakeBytes(m_path), "kept\r\nas far as ");
    File::WriteAllLines(m_path, {});
    EXPECT_EQ(TakeBytes(m_path), "");

    const Lines many(50000, "line \u00FF"_w);
    File::WriteAllLines(m_path, many);
    EXPECT_EQ(File::GetSize(m_path), 50000u * 8);
    EXPECT_TRUE(File::ReadAllLines(m_path) == many);
}

TEST_F(FileText, UnicodeLines)
{
    const std::pair<WString, Lines> files[] = {
        {""_w, {}},
        {"\n\n"_w, {}},
        {"\r\n\r\n"_w, {""_w, ""_w}},
        {"a\r\nb\n\nc"_w, {"a"_w, "b"_w, "c"_w}},
        {"a\rb\r\r\nc\r"_w, {"a"_w, "b"_w, ""_w, "c"_w}},
        {"a\nb\u001A\nc"_w, {"a"_w, "b"_w}},
        {"\u0A0A\u0D0D\u1A1A\u0A00\n\U0001F600"_w, {"\u0A0A\u0D0D\u1A1A\u0A00"_w, "\U0001F600"_w}},
        {WString("a\nb"_w) + WString(1, 0xD800) + "c\n"_w, {"a"_w, "b"_w}},
    };
    for (const auto& [text, lines] : files)
    {
        EXPECT_EQ(UnicodeLinesOf(text), lines) << testing::PrintToString(text);
        EXPECT_EQ(UnicodeLinesOf(text, FileEncoding::Utf16Be), lines);
    }
    PutBytes(m_path, "\0a\0\n\0b"s);
    EXPECT_EQ(File::ReadAllUnicodeLines(m_path), (Lines{"a"_w, "b"_w})) << "without a mark the high byte is first";
}

TEST_F(FileText, UnicodeLinesComeBack)
{
    File::WriteAllUnicodeLines(m_path, {});
    EXPECT_EQ(TakeBytes(m_path), "\xFF\xFE");
    File::WriteAllUnicodeLines(m_path, {"a"_w, WString(1, 0xD800)});
    EXPECT_EQ(TakeBytes(m_path), "\xFF\xFE\x61\0\r\0\n\0\0\xD8\r\0\n\0"s);
    Lines lines(40000, "\U0001F600 caf\u00E9"_w);
    lines[7].clear();
    lines[9].assign(5000000, 'x');
    File::WriteAllUnicodeLines(m_path, lines);
    EXPECT_TRUE(File::ReadAllUnicodeLines(m_path) == lines);
}

} // namespace
