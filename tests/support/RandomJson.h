// JSON documents made from a seed, in what RFC 8259 and the library's dialect have in common.
#pragma once

#include "Quoll/WideString.h"

#include <cstddef>
#include <random>
#include <string>

namespace Quoll::Tests
{

/// Makes documents; the same ones for the same seed.
class RandomJson
{
public:
    /// `hasSpace`: white space may stand between tokens. `maxDepth` is that of the objects in the
    /// root's.
    RandomJson(unsigned seed, bool hasSpace, unsigned maxDepth = 5)
        : m_random(seed)
        , m_hasSpace(hasSpace)
        , m_maxDepth(maxDepth)
    {
    }

    /// An object of objects, of that many units or slightly more.
    WString MakeDocument(std::size_t size)
    {
        m_text.clear();
        Add("{");
        for (unsigned count = 0; m_text.size() < size; ++count)
        {
            AddKey(count);
            AddObject(0);
        }
        Add("}");
        return m_text;
    }

private:
    unsigned Below(unsigned limit)
    {
        return static_cast<unsigned>(m_random() % limit);
    }

    // A token; what may stand before it is added as well.
    void Add(const std::string& token)
    {
        if (m_hasSpace && Below(4) == 0)
        {
            m_text.push_back(static_cast<WChar>(" \t\r\n"[Below(4)]));
        }
        m_text.append(token.begin(), token.end());
    }

    void AddSeparator(unsigned count)
    {
        if (count > 0)
        {
            Add(",");
        }
    }

    // Different for different counts.
    void AddKey(unsigned count)
    {
        AddSeparator(count);
        Add("\"");
        for (unsigned left = Below(12); left > 0; --left)
        {
            m_text.push_back(static_cast<WChar>('a' + Below(26)));
        }
        const std::string number = std::to_string(count);
        m_text.append(number.begin(), number.end());
        m_text.push_back('"');
        Add(":");
    }

    void AddUnit()
    {
        const unsigned kind = Below(200);
        if (kind < 4)
        {
            m_text.push_back('\\');
            m_text.push_back(static_cast<WChar>("\\\"nrtbf/"[Below(8)]));
        }
        else if (kind == 4)
        {
            const std::string escape = std::string("\\u") + "02aB"[Below(4)] + "4cE"[Below(3)] + "2D"[Below(2)] + "a";
            m_text.append(escape.begin(), escape.end());
        }
        else if (kind < 8)
        {
            m_text.push_back(static_cast<WChar>(0xA0 + Below(0x3000)));
        }
        else if (kind == 8)
        {
            m_text.push_back(static_cast<WChar>(0xD800 + Below(0x400)));
            m_text.push_back(static_cast<WChar>(0xDC00 + Below(0x400)));
        }
        else
        {
            m_text.push_back(static_cast<WChar>(Below(8) > 0 ? 'a' + Below(26) : ' '));
        }
    }

    void AddText()
    {
        Add("\"");
        for (unsigned left = Below(40); left > 0; --left)
        {
            AddUnit();
        }
        m_text.push_back('"');
    }

    void AddInteger()
    {
        std::string digits = std::to_string(Below(4) > 0 ? Below(1000000) : 10 + Below(90));
        while (digits.size() == 2)
        {
            for (int left = 18; left > 0; --left)
            {
                digits.push_back(static_cast<char>('0' + Below(10)));
            }
        }
        Add((Below(8) == 0 ? "-" : "") + digits);
    }

    template<class AddElement>
    void AddArray(unsigned count, AddElement addElement)
    {
        Add("[");
        for (unsigned i = 0; i < count; ++i)
        {
            AddSeparator(i);
            addElement();
        }
        Add("]");
    }

    void AddValue(unsigned depth)
    {
        const unsigned kind = Below(depth < m_maxDepth ? 20 : 15);
        if (kind < 7)
        {
            AddText();
        }
        else if (kind < 11)
        {
            AddInteger();
        }
        else if (kind < 13)
        {
            Add(kind == 11 ? "true" : Below(2) == 0 ? "false" : "null");
        }
        else if (kind == 13)
        {
            AddArray(Below(8), [&] { AddText(); });
        }
        else if (kind == 14)
        {
            AddArray(Below(8), [&] { AddInteger(); });
        }
        else if (kind < 17)
        {
            AddArray(Below(4), [&] { AddObject(depth + 1); });
        }
        else
        {
            AddObject(depth + 1);
        }
    }

    void AddObject(unsigned depth)
    {
        Add("{");
        const unsigned count = Below(depth < 2 ? 12 : 8);
        for (unsigned i = 0; i < count; ++i)
        {
            AddKey(i);
            AddValue(depth);
        }
        Add("}");
    }

    std::mt19937 m_random;
    bool m_hasSpace;
    unsigned m_maxDepth;
    WString m_text;
};

} // namespace Quoll::Tests
