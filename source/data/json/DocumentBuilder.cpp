#include "data/json/DocumentBuilder.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace Quoll::Json
{

namespace
{

// What most documents need: so much, and so much for each unit of their text.
constexpr std::size_t ExpectedBytes = 512;
constexpr std::size_t ExpectedBytesPerUnit = 8;
constexpr std::size_t MuchText = 0x10000;

// Numbers that are in the same order as the keys, as far as these differ in their first units.
std::uint64_t GetOrder(WStringView key) noexcept
{
    std::uint64_t order = 0;
    for (std::size_t i = 0; i < 4; ++i)
    {
        order = order << 16 | (i < key.size() ? key[i] : WChar{0});
    }
    return order;
}

} // namespace

DocumentBuilder::DocumentBuilder(bool allowDuplicates, std::size_t textSize) noexcept
    : m_allowDuplicates(allowDuplicates)
    , m_mayNeedLists(textSize > MaxReadSize)
    , m_chunks(ExpectedBytes + std::min(textSize, MuchText) * ExpectedBytesPerUnit)
{
}

// The object, its entries, and what they hold lie one behind the other.
std::shared_ptr<DataObject> DocumentBuilder::CloseObject()
{
    using Allocator = Detail::ChunkAllocator<DataObject>;
    const Level& level = m_levels.GetTop();
    const Content content{m_members.GetSize() - level.firstMember, m_units.GetSize() - level.firstUnit,
                          m_texts.GetSize() - level.firstText, m_objects.GetSize() - level.firstObject};
    const std::size_t size = content.GetSize();
    Detail::Chunk& chunk = m_chunks.GetChunk(Allocator::MaxSize + Detail::Chunk::RoundUp(size));
    std::shared_ptr<DataObject> object = std::allocate_shared<DataObject>(Allocator(chunk));
    if (content.members > 0)
    {
        object->m_values.m_chunk.Borrow(chunk);
        object->m_values.m_read = static_cast<ValueMap::value_type*>(chunk.TakeMore(size));
        MoveContent(content, object->m_values);
        FillMap(content, object->m_values);
    }
    m_members.Shrink(level.firstMember);
    m_keyOrders.Shrink(level.firstMember);
    m_units.Shrink(level.firstUnit);
    m_texts.Shrink(level.firstText);
    m_objects.Shrink(level.firstObject);
    m_levels.Shrink(m_levels.GetSize() - 1);
    return object;
}

void DocumentBuilder::CheckOpenObjects()
{
    std::size_t last = m_members.GetSize();
    for (std::size_t i = m_levels.GetSize(); i > 0 && !m_allowDuplicates; --i)
    {
        const std::size_t first = m_levels[i - 1].firstMember;
        SortMembers(first, last);
        for (std::size_t k = 1; k < m_sorted.GetSize(); ++k)
        {
            CheckDuplicate(m_sorted[k - 1], m_sorted[k]);
        }
        last = first;
    }
}

inline bool DocumentBuilder::IsBefore(const SortedMember& left, const SortedMember& right) noexcept
{
    if (left.order != right.order)
    {
        return left.order < right.order;
    }
    const int result = GetKey(*left.member).compare(GetKey(*right.member));
    return result != 0 ? result < 0 : left.member < right.member;
}

inline bool DocumentBuilder::IsSameKey(const SortedMember& left, const SortedMember& right) noexcept
{
    return left.order == right.order && GetKey(*left.member) == GetKey(*right.member);
}

inline WStringView DocumentBuilder::GetKey(const Member& member) noexcept
{
    return {m_units.begin() + member.key.begin, member.key.size};
}

// Most objects have few members, and a value for each. False if these can't be put in order in short.
inline bool DocumentBuilder::RankMembers(const Content& content, KeyRanks& ranks)
{
    if (content.members > KeyRanks::Capacity || m_mayNeedLists)
    {
        return false;
    }
    unsigned kinds = 0;
    for (const Member* member = m_members.end() - content.members; member != m_members.end(); ++member)
    {
        kinds |= static_cast<unsigned>(member->kind);
    }
    m_keyOrders.Reserve(KeyRanks::BlockSize);
    return (kinds & RareKinds) == 0 && ranks.Rank(m_keyOrders.end() - content.members, content.members);
}

// By key, and in the order of the text where keys are the same.
void DocumentBuilder::SortMembers(std::size_t first, std::size_t last)
{
    const std::size_t count = last - first;
    m_sorted.Shrink(0);
    SortedMember* const sorted = m_sorted.Reserve(count);
    m_sorted.Take(count);
    for (std::size_t i = 0; i < count; ++i)
    {
        const Member& member = m_members[first + i];
        sorted[i] = {GetOrder(GetKey(member)), &member};
    }
    std::sort(sorted, sorted + count, [this](const auto& left, const auto& right) { return IsBefore(left, right); });
}

// A key is refused when it comes behind one that got a value, whatever comes behind itself.
void DocumentBuilder::CheckDuplicate(const SortedMember& before, const SortedMember& member)
{
    if (before.member->kind != Kind::Missing && IsSameKey(before, member))
    {
        throw std::runtime_error("Duplicate attribute");
    }
}

template<class Item>
void DocumentBuilder::SetPlace(DataValue::Form form, Item* items, std::size_t first) noexcept
{
    m_places[static_cast<std::size_t>(form)] = reinterpret_cast<std::uintptr_t>(items) - first * sizeof(Item);
}

inline void* DocumentBuilder::FindPlace(DataValue::Form form, std::size_t index) const noexcept
{
    static constexpr std::size_t itemSizes[] = {0, sizeof(WChar), sizeof(WStringView),
                                                sizeof(std::shared_ptr<DataObject>)};
    const auto i = static_cast<std::size_t>(form);
    return reinterpret_cast<void*>(m_places[i] + index * itemSizes[i]);
}

// A text in the memory of the object that closes.
inline WStringView DocumentBuilder::GetCopy(const Text& text) const noexcept
{
    return {static_cast<const WChar*>(FindPlace(DataValue::Form::Text, text.begin)), text.size};
}

// Moves what the values hold to where it will lie, behind the entries.
inline void DocumentBuilder::MoveContent(const Content& content, ValueMap& map) noexcept
{
    auto* const objects = reinterpret_cast<std::shared_ptr<DataObject>*>(map.m_read + content.members);
    auto* const views = reinterpret_cast<WStringView*>(objects + content.objects);
    auto* const copies = reinterpret_cast<WChar*>(views + content.texts);
    const WChar* const units = m_units.end() - content.units;
    std::fill_n(m_units.end(), RoomToSpare, WChar{0});
    std::size_t copied = 0;
    for (; copied < content.units; copied += RoomToSpare)
    {
        std::memcpy(copies + copied, units + copied, RoomToSpare * sizeof(WChar));
    }
    std::fill_n(copies + copied, RoomToSpare, WChar{0});
    SetPlace(DataValue::Form::Text, copies, m_units.GetSize() - content.units);
    const Text* const texts = m_texts.end() - content.texts;
    for (std::size_t i = 0; i < content.texts; ++i)
    {
        std::construct_at(views + i, GetCopy(texts[i]));
    }
    SetPlace(DataValue::Form::Texts, views, m_texts.GetSize() - content.texts);
    std::uninitialized_move_n(m_objects.end() - content.objects, content.objects, objects);
    SetPlace(DataValue::Form::Objects, objects, m_objects.GetSize() - content.objects);
    map.m_readObjects = objects;
    map.m_readObjectCount = content.objects;
}

inline void DocumentBuilder::FillMap(const Content& content, ValueMap& map)
{
    KeyRanks ranks;
    if (RankMembers(content, ranks))
    {
        FillRanked(content, ranks, map);
    }
    else
    {
        SortMembers(m_members.GetSize() - content.members, m_members.GetSize());
        FillSorted(map);
    }
}

inline void DocumentBuilder::FillRanked(const Content& content, const KeyRanks& ranks, ValueMap& map) noexcept
{
    const Member* const members = m_members.end() - content.members;
    for (std::size_t i = 0; i < content.members; ++i)
    {
        FillValue(members[i], MakeEntry(members[i], map.m_read + ranks[i]));
    }
    map.m_readCount = content.members;
}

void DocumentBuilder::FillSorted(ValueMap& map)
{
    const SortedMember* before = nullptr;
    for (const SortedMember& sorted : m_sorted)
    {
        const Member& member = *sorted.member;
        const bool isSame = before != nullptr && IsSameKey(*before, sorted);
        if (isSame && !m_allowDuplicates)
        {
            // It comes behind one that got a value.
            throw std::runtime_error("Duplicate attribute");
        }
        if (member.kind == Kind::Missing)
        {
            continue;
        }
        if (isSame)
        {
            Apply(member, map.m_read[map.m_readCount - 1].second);
            continue;
        }
        before = &sorted;
        DataValue& value = MakeEntry(member, map.m_read + map.m_readCount);
        ++map.m_readCount;
        FillValue(member, value);
        if (NeedsLists(member))
        {
            FillLists(member, value);
        }
    }
}

inline DataValue& DocumentBuilder::MakeEntry(const Member& member, ValueMap::value_type* place) noexcept
{
    std::construct_at(place, std::piecewise_construct, std::forward_as_tuple(GetCopy(member.key)), std::tuple<>());
    return place->second;
}

inline void DocumentBuilder::FillValue(const Member& member, DataValue& value) noexcept
{
    value.m_read = FindPlace(member.shape.form, member.content.begin);
    value.m_shape = member.shape;
}

bool DocumentBuilder::NeedsLists(const Member& member) const noexcept
{
    return member.kind == Kind::MixedArray || member.content.size > MaxReadSize;
}

// Of an array.
DocumentBuilder::Range DocumentBuilder::GetObjects(const Member& member) const noexcept
{
    return member.shape.form == DataValue::Form::Objects ? member.content : Range{};
}

void DocumentBuilder::FillLists(const Member& member, DataValue& value)
{
    value.m_shape.form = DataValue::Form::Nothing;
    DataValue::Lists& lists = value.EditLists();
    if (member.kind == Kind::Text)
    {
        lists.values.emplace_back(GetCopy(member.content));
        return;
    }
    for (std::size_t i = 0; i < member.texts.size; ++i)
    {
        lists.values.emplace_back(GetText(member.texts.begin + i));
    }
    const Range objects = GetObjects(member);
    for (std::size_t i = 0; i < objects.size; ++i)
    {
        lists.objects.push_back(std::move(GetObject(objects.begin + i)));
    }
}

// A text of an array.
WStringView DocumentBuilder::GetText(std::size_t index) const noexcept
{
    return *static_cast<const WStringView*>(FindPlace(DataValue::Form::Texts, index));
}

std::shared_ptr<DataObject>& DocumentBuilder::GetObject(std::size_t index) const noexcept
{
    return *static_cast<std::shared_ptr<DataObject>*>(FindPlace(DataValue::Form::Objects, index));
}

// Does to the value of the same key before what reading this one does.
void DocumentBuilder::Apply(const Member& member, DataValue& value)
{
    switch (member.kind)
    {
    case Kind::Missing:
        break;
    case Kind::Null:
        value.SetNull();
        break;
    case Kind::Text:
        value.SetValue(WString(GetCopy(member.content)), member.shape.type);
        break;
    case Kind::Object:
        value.SetObject(std::move(GetObject(member.content.begin)));
        break;
    case Kind::Array:
    case Kind::MixedArray:
        ApplyArray(member, value);
        break;
    }
}

void DocumentBuilder::ApplyArray(const Member& member, DataValue& value)
{
    const Range objects = GetObjects(member);
    if (member.texts.size + objects.size == 0)
    {
        value.AddEmptyArray();
        return;
    }
    // Of a mixed array's types the one that was set last stays, wherever the other elements stand.
    const bool areObjectsFirst = member.shape.type != EType::Object;
    for (const bool areObjects : {areObjectsFirst, !areObjectsFirst})
    {
        for (std::size_t i = 0; areObjects && i < objects.size; ++i)
        {
            value.AddObject(std::move(GetObject(objects.begin + i)));
        }
        for (std::size_t i = 0; !areObjects && i < member.texts.size; ++i)
        {
            value.AddText(WString(GetText(member.texts.begin + i)), member.textType);
        }
    }
}

} // namespace Quoll::Json
