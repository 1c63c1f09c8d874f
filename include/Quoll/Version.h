/// @file
/// Version numbers of four parts, read from text, compared and printed.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WideString.h"

#include <cstdint>
#include <string>

namespace Quoll::Utilities
{

/// The parts of a version as a plain record, the last one first.
struct _CVersion
{
    std::uint32_t build;    ///< The fourth part.
    std::uint32_t revision; ///< The third part.
    std::uint32_t minor;    ///< The second part.
    std::uint32_t major;    ///< The first part.
};

/// A version: major, minor, revision and build, in this order, unsigned numbers of 32 bits.
///
///     using namespace Quoll::Literals;
///     const Version installed("1.2.3.4"_w);
///     installed < Version(1, 2, 3, 10);      // true: parts compare as numbers
///     installed.ToString("%u.%u (%u)"_w);    // 1.2 (3)
///
/// Text is read as C scans it with "%u.%u.%u.%u": before each part there may be white space (of C: blank, tab, LF,
/// VT, FF, CR) and a sign; what follows the fourth part is ignored. A part wraps modulo 2^32, however many digits it
/// has, and so does a negative one: "1.2.3.4abc" is 1.2.3.4, and the fourth part of "1.2.3.-1" is 4294967295. Text of
/// any length takes linear time.
///
/// Text is read unsigned but printed signed: a part of 2147483648 or more prints as a negative number unless the
/// caller's format says otherwise.
///
/// Threads: a plain value. Failures: an object that couldn't be set is what it was before.
class QUOLL_API Version
{
public:
    /// 0.0.0.0
    Version() noexcept = default;
    /// The parts of the record.
    explicit Version(const _CVersion& parts) noexcept;
    /// The same version.
    Version(const Version& other) noexcept = default;
    /// SetVersion of a text in UTF-8.
    /// @throws Win32Exception       as SetVersion
    /// @throws ConversionException  the text isn't UTF-8
    explicit Version(const std::string& text);
    /// SetVersion of the text.
    /// @throws Win32Exception  as SetVersion
    explicit Version(WStringView text);
    /// The four parts.
    Version(std::uint32_t major, std::uint32_t minor, std::uint32_t revision, std::uint32_t build) noexcept;
    /// The same version.
    Version& operator=(const Version& other) noexcept = default;
    virtual ~Version();

    /// The first part.
    std::uint32_t GetMajor() const noexcept;
    /// The second part.
    std::uint32_t GetMinor() const noexcept;
    /// The third part.
    std::uint32_t GetRevision() const noexcept;
    /// The fourth part.
    std::uint32_t GetBuild() const noexcept;

    /// Takes the four parts.
    void SetVersion(std::uint32_t major, std::uint32_t minor, std::uint32_t revision, std::uint32_t build) noexcept;
    /// Takes the parts of the record.
    void SetVersion(const _CVersion& parts) noexcept;
    /// Reads a text in UTF-8, up to its first NUL.
    /// @throws Win32Exception       as below
    /// @throws ConversionException  the text isn't UTF-8
    void SetVersion(const std::string& text);
    /// Reads a text, up to its first NUL.
    /// @throws Win32Exception  "String is not a valid version string", code 87: CheckCompleteVersionFormat refuses
    ///                         the text, or one of the parts has no digit
    void SetVersion(WStringView text);

    /// Refuses every text that hasn't exactly three dots. What stands between them isn't looked at.
    /// @throws Win32Exception  "String is not a valid version string", code 87
    static void CheckCompleteVersionFormat(WStringView text);

    /// -1 if this version is less than the other, 0 if they are equal, 1 if this one is greater: by the first part
    /// that differs.
    int Compare(const Version& other) const noexcept;

    /// Compare gives 0.
    bool operator==(const Version& other) const noexcept
    {
        return Compare(other) == 0;
    }
    /// Compare doesn't give 0.
    bool operator!=(const Version& other) const noexcept
    {
        return Compare(other) != 0;
    }
    /// Compare gives -1.
    bool operator<(const Version& other) const noexcept
    {
        return Compare(other) < 0;
    }
    /// Compare doesn't give 1.
    bool operator<=(const Version& other) const noexcept
    {
        return Compare(other) <= 0;
    }
    /// Compare gives 1.
    bool operator>(const Version& other) const noexcept
    {
        return Compare(other) > 0;
    }
    /// Compare doesn't give -1.
    bool operator>=(const Version& other) const noexcept
    {
        return Compare(other) >= 0;
    }

    /// ToString with "%d.%d.%d.%d".
    WString ToString() const;

    /// Prints the parts, in the order major, minor, revision, build, by a format of C.
    ///
    /// Conversions take one part after the other; parts that are left over aren't printed. The types are d, i, u, o,
    /// x, X, c and %, with flags, width and precision, for which `*` takes a part too, and the sizes hh, h, l and
    /// I32; `l` doesn't change a number here. A format that asks for anything else, or for more than four parts, is
    /// refused: it can't read what it wasn't given.
    /// @throws Win32Exception  "Can't generate a valid version string", code 87: the format is refused, or the text
    ///                         is empty or has more than 255 units
    WString ToString(const WString& format) const;

    /// ToString() in bytes.
    std::string ToCharString() const;

    /// The parts as a record.
    _CVersion GetCVerison() const noexcept;

private:
    std::uint32_t m_major = 0;
    std::uint32_t m_minor = 0;
    std::uint32_t m_revision = 0;
    std::uint32_t m_build = 0;
};

} // namespace Quoll::Utilities
