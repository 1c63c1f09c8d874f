// MakeCanonical by a rule of our own on both targets: what PathCanonicalizeW does with relative paths
// and with dots at the end differs between systems, and some read past the end of such a path.
#include "Quoll/Path.h"

#include <utility>

namespace Quoll::Utilities
{

namespace
{

using namespace Quoll::Literals;

constexpr std::size_t limit = 260; // of the platform's call, the NUL included

bool IsDrive(WStringView text) noexcept
{
    return text.size() == 2 && text[1] == ':';
}

// A canonical path as it grows by segments.
class CanonicalPath
{
public:
    // The segments, which `path` is left with, are at most as long as the path.
    explicit CanonicalPath(WStringView& path)
    {
        m_text.reserve(path.size() + 1); // for a drive's backslash
        const WStringView first = path.substr(0, path.find('\\'));
        if (path.starts_with("\\\\?\\UNC\\"_w))
        {
            TakeRoot(path, 8, 1);
        }
        else if (path.starts_with("\\\\?\\"_w))
        {
            TakeRoot(path, 4, 1);
        }
        else if (path.starts_with("\\\\"_w))
        {
            TakeRoot(path, 2, 1);
        }
        else if (path.starts_with('\\'))
        {
            TakeRoot(path, 1, 0);
        }
        else
        {
            TakeRoot(path, 0, IsDrive(first) ? 1 : 0);
        }
    }

    void Add(WStringView segment)
    {
        if (segment == "."_w)
        {
            return;
        }
        if (segment == ".."_w)
        {
            RemoveLast();
            return;
        }
        if (m_segments > 0)
        {
            m_text.push_back('\\');
        }
        m_text.append(segment);
        ++m_segments;
    }

    WString Finish() &&
    {
        while (m_text.ends_with('.') && !m_text.ends_with("*."_w))
        {
            m_text.pop_back();
        }
        const WStringView behindRoot = WStringView(m_text).substr(m_text.starts_with("\\\\?\\"_w) ? 4 : 0);
        if (m_text.empty() || IsDrive(behindRoot))
        {
            m_text.push_back('\\');
        }
        return std::move(m_text);
    }

private:
    void TakeRoot(WStringView& path, std::size_t length, std::size_t segmentsThatStay)
    {
        m_text.append(path.substr(0, length));
        path.remove_prefix(length);
        m_rootLength = length;
        m_segmentsThatStay = segmentsThatStay;
    }

    void RemoveLast()
    {
        if (m_segments <= m_segmentsThatStay)
        {
            return;
        }
        --m_segments;
        m_text.resize(m_segments > 0 ? m_text.rfind('\\') : m_rootLength);
        if (m_segments == 0 && m_rootLength == 0)
        {
            m_text.push_back('\\'); // which stood behind the segment
            m_rootLength = 1;
        }
    }

    WString m_text;
    std::size_t m_rootLength = 0;
    std::size_t m_segments = 0;
    std::size_t m_segmentsThatStay = 0;
};

} // namespace

WString Path::MakeCanonical(const WString& path)
{
    WStringView rest(path.c_str());
    if (rest.size() >= limit)
    {
        return {};
    }
    CanonicalPath canonical(rest);
    for (std::size_t end = rest.find('\\'); end != WStringView::npos; end = rest.find('\\'))
    {
        canonical.Add(rest.substr(0, end));
        rest.remove_prefix(end + 1);
    }
    canonical.Add(rest);
    return std::move(canonical).Finish();
}

} // namespace Quoll::Utilities
