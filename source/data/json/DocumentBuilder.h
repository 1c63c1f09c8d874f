// Makes objects of members that were read.
#pragma once

#include "Quoll/JsonObject.h"
#include "data/json/Chunk.h"
#include "data/json/KeyRanks.h"
#include "data/json/Stack.h"

#include <array>
#include <cstdint>
#include <limits>

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
    // Room for so many units. The operations below that take a size make a text of those put there.
    WChar* GetTextRoom(std::size_t size);
    // The same behind a part of the text that was put there, which may move.
    WChar* GetTextRoom(WChar* behind, std::size_t size);
    void AddKey(std::size_t size);
    // The value of the key added last. A key without a value is dropped in the end.
    void SetText(EType type, std::size_t size) noexcept;
    void SetNull() noexcept;
    void SetObject(std::shared_ptr<DataObject> object);
    void OpenArray() noexcept;
    void AddText(EType type, std::size_t size);
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
        Null,
        Text,
        Object,
        Array,
        Missing = 0x80,
        MixedArray
    };
    static constexpr unsigned RareKinds = 0x80; // the bit of the kinds that an object seldom has

    // Units, texts or objects, by the place of the first. Texts are named by units.
    struct Range
    {
        std::size_t begin;
        std::size_t size;
    };
    using Text = Range;

    struct Member
    {
        Text key;
        Range content; // what the value will have, according to its shape
        DataValue::Shape shape;
        Kind kind;
        // Of an array: the type of its first text, and all of these. While it is open, its content are the objects.
        EType textType;
        Range texts;
    };

    struct SortedMember
    {
        std::uint64_t order; // of the first units of the key
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

    // What the object that closes will hold.
    struct Content
    {
        std::size_t members;
        std::size_t units;
        std::size_t texts;
        std::size_t objects;

        // Behind each text there is a block that can be read.
        std::size_t CountBlocks() const noexcept
        {
            return (units + RoomToSpare - 1) / RoomToSpare + 1;
        }
        std::size_t GetSize() const noexcept
        {
            return members * sizeof(ValueMap::value_type) + objects * sizeof(std::shared_ptr<DataObject>) +
                   texts * sizeof(WStringView) + CountBlocks() * RoomToSpare * sizeof(WChar);
        }
    };

    // Beyond that a value keeps lists.
    static constexpr std::size_t MaxReadSize = std::numeric_limits<std::uint32_t>::max();

    Text TakeText(std::size_t size) noexcept;
    void SetContent(Kind kind, EType type, DataValue::Form form, const Range& content) noexcept;
    bool RankMembers(const Content& content, KeyRanks& ranks);
    void SortMembers(std::size_t first, std::size_t last);
    void CheckDuplicate(const SortedMember& before, const SortedMember& member);
    bool IsBefore(const SortedMember& left, const SortedMember& right) noexcept;
    bool IsSameKey(const SortedMember& left, const SortedMember& right) noexcept;
    WStringView GetKey(const Member& member) noexcept;
    void MoveContent(const Content& content, ValueMap& map) noexcept;
    void FillMap(const Content& content, ValueMap& map);
    void FillRanked(const Content& content, const KeyRanks& ranks, ValueMap& map) noexcept;
    void FillSorted(ValueMap& map);
    DataValue& MakeEntry(const Member& member, ValueMap::value_type* place) noexcept;
    void FillValue(const Member& member, DataValue& value) noexcept;
    bool NeedsLists(const Member& member) const noexcept;
    Range GetObjects(const Member& member) const noexcept;
    void FillLists(const Member& member, DataValue& value);
    void Apply(const Member& member, DataValue& value);
    void ApplyArray(const Member& member, DataValue& value);
    template<class Item>
    void SetPlace(DataValue::Form form, Item* items, std::size_t first) noexcept;
    void* FindPlace(DataValue::Form form, std::size_t index) const noexcept;
    WStringView GetCopy(const Text& text) const noexcept;
    WStringView GetText(std::size_t index) const noexcept;
    std::shared_ptr<DataObject>& GetObject(std::size_t index) const noexcept;

    bool m_allowDuplicates;
    bool m_mayNeedLists; // as the text is very long
    Detail::ChunkSource m_chunks;
    Stack<Level, 8> m_levels;
    Stack<Member, 32> m_members;
    Stack<KeyOrder, 32> m_keyOrders; // of the members
    Stack<WChar, 512> m_units;
    Stack<Text, 32> m_texts;
    Stack<std::shared_ptr<DataObject>, 16> m_objects;
    Stack<SortedMember, 32> m_sorted;
    // By the forms of values: where the object that closes would have the first of all units, texts or objects.
    std::array<std::uintptr_t, 4> m_places{};
};

inline void DocumentBuilder::OpenObject()
{
    m_levels.Push(Level{m_members.GetSize(), m_units.GetSize(), m_texts.GetSize(), m_objects.GetSize()});
}

inline WChar* DocumentBuilder::GetTextRoom(std::size_t size)
{
    return m_units.Reserve(size + RoomToSpare);
}

inline WChar* DocumentBuilder::GetTextRoom(WChar* behind, std::size_t size)
{
    return m_units.ReserveBehind(behind, size + RoomToSpare);
}

inline DocumentBuilder::Text DocumentBuilder::TakeText(std::size_t size) noexcept
{
    const std::size_t begin = m_units.GetSize();
    m_units.Take(size);
    return {begin, size};
}

inline void DocumentBuilder::AddKey(std::size_t size)
{
    m_keyOrders.Push(GetKeyOrder(m_units.end(), size));
    Member& member = m_members.Push();
    member.key = TakeText(size);
    member.kind = Kind::Missing;
}

inline void DocumentBuilder::SetContent(Kind kind, EType type, DataValue::Form form, const Range& content) noexcept
{
    Member& member = m_members.GetTop();
    member.content = content;
    member.shape = {static_cast<std::uint32_t>(content.size), form, type,
                    kind == Kind::Array || kind == Kind::MixedArray};
    member.kind = kind;
}

inline void DocumentBuilder::SetText(EType type, std::size_t size) noexcept
{
    SetContent(Kind::Text, type, DataValue::Form::Text, TakeText(size));
}

inline void DocumentBuilder::SetNull() noexcept
{
    SetContent(Kind::Null, EType::Null, DataValue::Form::Nothing, {});
}

inline void DocumentBuilder::SetObject(std::shared_ptr<DataObject> object)
{
    SetContent(Kind::Object, EType::Object, DataValue::Form::Objects, {m_objects.GetSize(), 1});
    m_objects.Push(std::move(object));
}

inline void DocumentBuilder::OpenArray() noexcept
{
    Member& member = m_members.GetTop();
    member.kind = Kind::Array;
    member.shape.type = EType::EmptyArray;
    member.texts.begin = m_texts.GetSize();
    member.content.begin = m_objects.GetSize();
}

inline void DocumentBuilder::AddText(EType type, std::size_t size)
{
    Member& member = m_members.GetTop();
    if (member.texts.begin == m_texts.GetSize())
    {
        member.shape.type = type;
        member.textType = type;
    }
    m_texts.Push(TakeText(size));
}

inline void DocumentBuilder::AddObject(std::shared_ptr<DataObject> object)
{
    Member& member = m_members.GetTop();
    if (member.content.begin == m_objects.GetSize())
    {
        member.shape.type = EType::Object;
    }
    m_objects.Push(std::move(object));
}

inline void DocumentBuilder::CloseArray() noexcept
{
    Member& member = m_members.GetTop();
    member.texts.size = m_texts.GetSize() - member.texts.begin;
    const Range objects{member.content.begin, m_objects.GetSize() - member.content.begin};
    if (objects.size == 0)
    {
        SetContent(Kind::Array, member.shape.type, DataValue::Form::Texts, member.texts);
    }
    else
    {
        const Kind kind = member.texts.size == 0 ? Kind::Array : Kind::MixedArray;
        SetContent(kind, member.shape.type, DataValue::Form::Objects, objects);
    }
}

inline bool DocumentBuilder::IsInArray() const noexcept
{
    const std::size_t first = m_levels.GetTop().firstMember;
    return first > 0 && m_members[first - 1].kind == Kind::Array;
}

} // namespace Quoll::Json
