#include "Quoll/Version.h"

#include "Quoll/Errors.h"
#include "Quoll/StringUtilities.h"
#include "core/NumberScan.h"
#include "core/Printf.h"

#include <windows.h>

#include <algorithm>
#include <tuple>

namespace Quoll::Utilities
{

using namespace Quoll::Literals;

namespace
{

constexpr std::size_t PartCount = 4;
constexpr std::size_t BufferSize = 256;

[[noreturn]] void ThrowInvalidText()
{
    throw Win32Exception("String is not a valid version string", ERROR_INVALID_PARAMETER);
}

void SkipAny(WStringView& rest, WStringView set) noexcept
{
    rest.remove_prefix(std::min(rest.find_first_not_of(set), rest.size()));
}

bool SkipUnit(WStringView& rest, WChar unit) noexcept
{
    const bool isThere = rest.starts_with(unit);
    rest.remove_prefix(isThere ? 1 : 0);
    return isThere;
}

// Copies a caller's format, and finds out whether the four parts are all that it asks for.
class FormatCheck
{
public:
    explicit FormatCheck(WStringView format)
        : m_rest(format.substr(0, format.find(WChar{0})))
    {
        m_copy.reserve(m_rest.size());
    }

    bool Passes()
    {
        while (!m_rest.empty())
        {
            const WStringView before = m_rest;
            m_rest.remove_prefix(std::min(m_rest.find('%'), m_rest.size()));
            CopySince(before);
            if (!m_rest.empty() && !PassesConversion())
            {
                return false;
            }
        }
        return m_taken <= PartCount;
    }

    // The format without "l", which means numbers of 64 bits on one of the targets.
    const WString& GetCopy() const noexcept
    {
        return m_copy;
    }

private:
    // Stricter than the formatter, so that both see the same conversions.
    bool PassesConversion()
    {
        const WStringView before = m_rest;
        m_rest.remove_prefix(1);
        SkipAny(m_rest, "-+ #0"_w);
        SkipNumber();
        if (SkipUnit(m_rest, '.'))
        {
            SkipNumber();
        }
        CopySince(before);
        if (!SkipUnit(m_rest, 'l'))
        {
            CopySize();
        }
        const WChar type = m_rest.empty() ? WChar{0} : m_rest.front();
        m_taken += type != '%' ? 1 : 0;
        return "diuoxXc%"_w.find(type) != WStringView::npos && CopyUnit();
    }

    void SkipNumber() noexcept
    {
        if (SkipUnit(m_rest, '*'))
        {
            ++m_taken;
            return;
        }
        SkipAny(m_rest, "0123456789"_w);
    }

    void CopySize()
    {
        for (const WideLiteral& size : {"hh"_w, "h"_w, "I32"_w})
        {
            if (m_rest.starts_with(size))
            {
                m_rest.remove_prefix(size.size());
                m_copy += size;
                return;
            }
        }
    }

    bool CopyUnit()
    {
        m_copy += m_rest.front();
        m_rest.remove_prefix(1);
        return true;
    }

    void CopySince(WStringView before)
    {
        m_copy.append(before.substr(0, before.size() - m_rest.size()));
    }

    WStringView m_rest;
    WString m_copy;
    std::size_t m_taken = 0;
};

} // namespace

Version::Version(const _CVersion& parts) noexcept
{
    SetVersion(parts);
}

Version::Version(const std::string& text)
{
    SetVersion(text);
}

Version::Version(WStringView text)
{
    SetVersion(text);
}

Version::Version(std::uint32_t major, std::uint32_t minor, std::uint32_t revision, std::uint32_t build) noexcept
{
    SetVersion(major, minor, revision, build);
}

Version::~Version() = default;

std::uint32_t Version::GetMajor() const noexcept
{
    return m_major;
}

std::uint32_t Version::GetMinor() const noexcept
{
    return m_minor;
}

std::uint32_t Version::GetRevision() const noexcept
{
    return m_revision;
}

std::uint32_t Version::GetBuild() const noexcept
{
    return m_build;
}

void Version::SetVersion(std::uint32_t major, std::uint32_t minor, std::uint32_t revision, std::uint32_t build) noexcept
{
    m_major = major;
    m_minor = minor;
    m_revision = revision;
    m_build = build;
}

void Version::SetVersion(const _CVersion& parts) noexcept
{
    SetVersion(parts.major, parts.minor, parts.revision, parts.build);
}

void Version::SetVersion(const std::string& text)
{
    SetVersion(StringUtilities::Utf8ToUtf16(text));
}

void Version::SetVersion(WStringView text)
{
    CheckCompleteVersionFormat(text);
    NumberScanner scanner(text);
    std::uint32_t parts[PartCount] = {};
    for (std::size_t i = 0; i < PartCount; ++i)
    {
        const auto part = i == 0 || scanner.TakeUnit('.') ? scanner.TakeDecimal() : std::nullopt;
        if (!part)
        {
            ThrowInvalidText();
        }
        parts[i] = *part;
    }
    SetVersion(parts[0], parts[1], parts[2], parts[3]);
}

void Version::CheckCompleteVersionFormat(WStringView text)
{
    if (std::count(text.begin(), text.end(), WChar{'.'}) != PartCount - 1)
    {
        ThrowInvalidText();
    }
}

int Version::Compare(const Version& other) const noexcept
{
    const auto order = std::tie(m_major, m_minor, m_revision, m_build) <=>
                       std::tie(other.m_major, other.m_minor, other.m_revision, other.m_build);
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

WString Version::ToString() const
{
    return ToString("%d.%d.%d.%d"_w);
}

WString Version::ToString(const WString& format) const
{
    FormatCheck check(format);
    WString text(BufferSize, WChar{0});
    const auto asInt = [](std::uint32_t part) {
        return static_cast<int>(part);
    };
    const int length = check.Passes() ? Print(text.data(), BufferSize, check.GetCopy().c_str(), asInt(m_major),
                                              asInt(m_minor), asInt(m_revision), asInt(m_build))
                                      : -1;
    if (length < 1 || static_cast<std::size_t>(length) >= BufferSize)
    {
        throw Win32Exception("Can't generate a valid version string", ERROR_INVALID_PARAMETER);
    }
    text.resize(static_cast<std::size_t>(length));
    return text;
}

std::string Version::ToCharString() const
{
    return StringUtilities::Utf16ToUtf8(ToString("%d.%d.%d.%d"_w));
}

_CVersion Version::GetCVerison() const noexcept
{
    return {m_build, m_revision, m_minor, m_major};
}

} // namespace Quoll::Utilities
