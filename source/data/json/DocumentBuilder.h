// Makes objects of members that were read.
#pragma once

#include "Quoll/JsonObject.h"
#include "data/json/Chunk.h"
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
    // Room for so many more units of a text.
    WChar* GetTextRoom(std::size_t size);
    // Makes units that were put there part of the text.
    void WriteText(std::size_t size) noexcept;
    // Forgets the text. The operations that follow take it otherwise, and the next text begins.
    void DropText() noexcept;
    void AddKey();
    // The value of the key added last. A key without a value is dropped in the end.
    void SetText(EType type) noexcept;
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

    struct Member
    {
        Text key;
        // What the value will have: a text, or the texts or objects from a place on.
        DataValue::Shape shape;
        std::size_t begin;
        std::size_t textSize;
        Kind kind;
        bool needsLists; // since there is no such shape
        // Of an array.
        EType textType; // that of the first text
        std::size_t firstText;
        std::size_t textCount;
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

    // Beyond that a value keeps lists.
    static constexpr std::size_t MaxReadSize = std::numeric_limits<std::uint32_t>::max();

    Text TakeText() noexcept;
    void SetContent(Kind kind, EType type, DataValue::Form form, const Text& place) noexcept;
    void SortMembers(std::size_t first, std::size_t last);
    bool RankMembers(std::size_t first, std::size_t count, SortedMember* sorted);
    void CheckDuplicate(const SortedMember& before, const SortedMember& member);
    bool IsBefore(const SortedMember& left, const SortedMember& right) noexcept;
    bool IsSameKey(const SortedMember& left, const SortedMember& right) noexcept;
    WStringView GetKey(const Member& member) noexcept;
    std::shared_ptr<DataObject> MakeObject(const Level& level);
    void FillEntries(ValueMap& map);
    void FillValue(const Member& member, DataValue& value);
    void FillLists(const Member& member, DataValue& value);
    void Apply(const Member& member, DataValue& value);
    void ApplyArray(const Member& member, DataValue& value);
    template<class Item>
    void SetPlace(DataValue::Form form, Item* items, std::size_t first) noexcept;
    WStringView GetCopy(const Text& text) const noexcept;
    WStringView GetText(std::size_t index) const noexcept;
    std::shared_ptr<DataObject>& GetObject(std::size_t index) const noexcept;

    bool m_allowDuplicates;
    Detail::ChunkSource m_chunks;
    Stack<Level, 8> m_levels;
    Stack<Member, 32> m_members;
    Stack<WChar, 512> m_units;
    std::size_t m_textBegin = 0; // where the text begins that is being read
    Stack<Text, 32> m_texts;
    Stack<std::shared_ptr<DataObject>, 16> m_objects;
    Stack<SortedMember, 32> m_sorted;
    // Where the object that closes has what the values hold, by their forms.
    struct Place
    {
        std::byte* memory = nullptr;
        std::size_t first = 0; // what stands there
        std::size_t itemSize = 0;

        void* Find(std::size_t index) const noexcept
        {
            return memory + (index - first) * itemSize;
        }
    };
    std::array<Place, 4> m_places;
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
    Member& member = m_members.Push();
    member.key = TakeText();
    member.kind = Kind::Missing;
}

inline void DocumentBuilder::SetContent(Kind kind, EType type, DataValue::Form form, const Text& place) noexcept
{
    Member& member = m_members.GetTop();
    member.shape = {static_cast<std::uint32_t>(place.size), form, type, kind == Kind::Array};
    member.begin = place.begin;
    member.textSize = place.size;
    member.kind = kind;
    member.needsLists = place.size > MaxReadSize;
}

inline void DocumentBuilder::SetText(EType type) noexcept
{
    SetContent(Kind::Text, type, DataValue::Form::Text, TakeText());
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
        member.shape.type = type;
        member.textType = type;
    }
}

inline void DocumentBuilder::AddObject(std::shared_ptr<DataObject> object)
{
    m_objects.Push(std::move(object));
    Member& member = m_members.GetTop();
    if (member.objectCount++ == 0)
    {
        member.shape.type = EType::Object;
    }
}

inline void DocumentBuilder::CloseArray() noexcept
{
    Member& member = m_members.GetTop();
    if (member.objectCount == 0)
    {
        SetContent(Kind::Array, member.shape.type, DataValue::Form::Texts, {member.firstText, member.textCount});
    }
    else
    {
        SetContent(Kind::Array, member.shape.type, DataValue::Form::Objects, {member.firstObject, member.objectCount});
        member.needsLists = member.needsLists || member.textCount > 0;
    }
}

inline bool DocumentBuilder::IsInArray() const noexcept
{
    const std::size_t first = m_levels.GetTop().firstMember;
    return first > 0 && m_members[first - 1].kind == Kind::Array;
}

} // namespace Quoll::Json
