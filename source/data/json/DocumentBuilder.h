// Makes objects of members that were read.
#pragma once

#include "Quoll/JsonObject.h"
#include "data/json/Chunk.h"
#include "data/json/Stack.h"

#include <cstdint>

namespace Quoll::Json
{

// Keeps what the open objects have so far, the innermost on top; an object gets its memory at once,
// and in order, when it closes.
class DocumentBuilder
{
public:
    // `textSize` tells how much will be read.
    DocumentBuilder(bool allowDuplicates, std::size_t textSize) noexcept;

    void OpenObject();
    // Room for so many more units of a text.
    WChar* GetTextRoom(std::size_t size);
    // Makes units that were put there part of the text.
    void WriteText(std::size_t size) noexcept;
    // Forgets the text. The operations that follow take it otherwise, and the next text begins.
    void DropText() noexcept;
    void AddKey();
    // The value of the key added last. A key without a value is dropped in the end.
    void SetText(EType type);
    void SetNull() noexcept;
    void SetObject(std::shared_ptr<DataObject> object);
    void OpenArray() noexcept;
    void AddText(EType type);
    void AddObject(std::shared_ptr<DataObject> object);
    void CloseArray() noexcept;
    // Whether the innermost object is in an array of the one around it.
    bool IsInArray() const noexcept;
    std::size_t GetDepth() const noexcept
    {
        return m_levels.GetSize();
    }
    // The innermost object.
    /// @throws std::runtime_error  (duplicates)
    std::shared_ptr<DataObject> CloseObject();
    // Throws what CloseObject would throw for any of the open objects.
    void CheckOpenObjects();

    // What may be written, and ignored, behind the room for a text.
    static constexpr std::size_t RoomToSpare = 16;

private:
    enum class Kind : std::uint8_t
    {
        Missing,
        Null,
        Text,
        Object,
        Array
    };

    // Texts are named by the place of their first unit.
    struct Text
    {
        std::size_t begin;
        std::size_t size;
    };

    // What isn't set by a kind has no meaning for it.
    struct Member
    {
        Text key;
        Kind kind;
        EType type;     // that of the whole value
        EType textType; // that of the first text of an array
        std::size_t textCount;
        Text text; // of a scalar
        std::size_t firstText;
        std::size_t firstObject;
        std::size_t objectCount;
    };

    struct SortedMember
    {
        std::int64_t order; // of the first units of the key
        const Member* member;
    };

    // Where the members of an open object begin, and their units, texts and objects.
    struct Level
    {
        std::size_t firstMember;
        std::size_t firstUnit;
        std::size_t firstText;
        std::size_t firstObject;
    };

    static constexpr std::size_t MaxRankedMembers = 16;

    Text TakeText() noexcept;
    void SortMembers(std::size_t first, std::size_t last);
    bool RankMembers(std::size_t first, std::size_t count, SortedMember* sorted);
    void CheckDuplicate(const SortedMember& before, const SortedMember& member);
    bool IsBefore(const SortedMember& left, const SortedMember& right) noexcept;
    bool IsSameKey(const SortedMember& left, const SortedMember& right) noexcept;
    WStringView GetKey(const Member& member) noexcept;
    std::shared_ptr<DataObject> MakeObject(const Level& level);
    void FillEntries(ValueMap& map);
    void FillValue(const Member& member, DataValue& value);
    void FillText(WStringView text, DataValue& value);
    void FillArray(const Member& member, DataValue& value);
    void FillObjects(const Member& member, DataValue& value);
    void FillLists(const Member& member, DataValue& value);
    void Apply(const Member& member, DataValue& value);
    void ApplyArray(const Member& member, DataValue& value);
    WStringView GetCopy(const Text& text) const noexcept;

    bool m_allowDuplicates;
    Detail::ChunkSource m_chunks;
    Stack<Level, 8> m_levels;
    Stack<Member, 32> m_members;
    Stack<WChar, 512> m_units;
    std::size_t m_textBegin = 0; // where the text begins that is being read
    Stack<Text, 32> m_texts;
    Stack<std::shared_ptr<DataObject>, 16> m_objects;
    Stack<SortedMember, 32> m_sorted;
    // Of the object that closes: where its objects and texts go, and the copy of m_units as if there were all.
    std::shared_ptr<DataObject>* m_nextObject = nullptr;
    WStringView* m_nextText = nullptr;
    const WChar* m_copies = nullptr;
};

inline void DocumentBuilder::OpenObject()
{
    m_levels.Push(Level{m_members.GetSize(), m_units.GetSize(), m_texts.GetSize(), m_objects.GetSize()});
}

inline WChar* DocumentBuilder::GetTextRoom(std::size_t size)
{
    return m_units.Reserve(size + RoomToSpare);
}

inline void DocumentBuilder::WriteText(std::size_t size) noexcept
{
    m_units.Take(size);
}

inline void DocumentBuilder::DropText() noexcept
{
    m_units.Shrink(m_textBegin);
}

inline DocumentBuilder::Text DocumentBuilder::TakeText() noexcept
{
    const std::size_t begin = std::exchange(m_textBegin, m_units.GetSize());
    return {begin, m_textBegin - begin};
}

inline void DocumentBuilder::AddKey()
{
    // Something can be read behind a key that is short.
    std::fill_n(GetTextRoom(0), RoomToSpare / 4, WChar{0});
    Member& member = m_members.Push();
    member.key = TakeText();
    member.kind = Kind::Missing;
}

inline void DocumentBuilder::SetText(EType type)
{
    Member& member = m_members.GetTop();
    member.text = TakeText();
    member.kind = Kind::Text;
    member.type = type;
}

inline void DocumentBuilder::SetNull() noexcept
{
    m_members.GetTop().kind = Kind::Null;
}

inline void DocumentBuilder::SetObject(std::shared_ptr<DataObject> object)
{
    Member& member = m_members.GetTop();
    member.firstObject = m_objects.GetSize();
    member.objectCount = 1;
    member.kind = Kind::Object;
    m_objects.Push(std::move(object));
}

inline void DocumentBuilder::OpenArray() noexcept
{
    Member& member = m_members.GetTop();
    member.kind = Kind::Array;
    member.type = EType::Null;
    member.firstText = m_texts.GetSize();
    member.textCount = 0;
    member.firstObject = m_objects.GetSize();
    member.objectCount = 0;
}

inline void DocumentBuilder::AddText(EType type)
{
    m_texts.Push(TakeText());
    Member& member = m_members.GetTop();
    if (member.textCount++ == 0)
    {
        member.type = type;
        member.textType = type;
    }
}

inline void DocumentBuilder::AddObject(std::shared_ptr<DataObject> object)
{
    m_objects.Push(std::move(object));
    Member& member = m_members.GetTop();
    if (member.objectCount++ == 0)
    {
        member.type = EType::Object;
    }
}

inline void DocumentBuilder::CloseArray() noexcept
{
    Member& member = m_members.GetTop();
    if (member.type == EType::Null)
    {
        member.type = EType::EmptyArray;
    }
}

inline bool DocumentBuilder::IsInArray() const noexcept
{
    const std::size_t first = m_levels.GetTop().firstMember;
    return first > 0 && m_members[first - 1].kind == Kind::Array;
}

} // namespace Quoll::Json
