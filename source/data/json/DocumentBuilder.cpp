#include "data/json/DocumentBuilder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace Quoll::Json
{

namespace
{

// What most documents need: so much, and so much for each unit of their text.
constexpr std::size_t ExpectedBytes = 512;
constexpr std::size_t ExpectedBytesPerUnit = 8;
constexpr std::size_t MuchText = 0x10000;

// How many units of a key make its order. They can be read behind a shorter key too.
constexpr std::size_t OrderUnits = 4;

// Numbers that are in the same order as the keys, as far as these differ in their first units. They have a bit
// to spare, so that their differences have a sign.
std::int64_t GetOrder(const WChar* key, std::size_t size) noexcept
{
    constexpr std::uint64_t masks[OrderUnits + 1] = {0, 0xFFFFull << 48, 0xFFFFFFFFull << 32, 0xFFFFFFFFFFFFull << 16,
                                                     ~0ull};
    const std::uint64_t order =
        std::uint64_t{key[0]} << 48 | std::uint64_t{key[1]} << 32 | std::uint64_t{key[2]} << 16 | key[3];
    return static_cast<std::int64_t>((order & masks[std::min(size, OrderUnits)]) >> 1);
}

} // namespace

DocumentBuilder::DocumentBuilder(bool allowDuplicates, std::size_t textSize) noexcept
    : m_allowDuplicates(allowDuplicates)
    , m_chunks(ExpectedBytes + std::min(textSize, MuchText) * ExpectedBytesPerUnit)
{
}

std::shared_ptr<DataObject> DocumentBuilder::CloseObject()
{
    const Level level = m_levels.GetTop();
    SortMembers(level.firstMember, m_members.GetSize());
    std::shared_ptr<DataObject> object = MakeObject(level);
    m_members.Shrink(level.firstMember);
    m_units.Shrink(level.firstUnit);
    m_textBegin = level.firstUnit;
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

// By key, and in the order of the text where keys are the same.
void DocumentBuilder::SortMembers(std::size_t first, std::size_t last)
{
    const std::size_t count = last - first;
    // Something can be read behind a short key that is the last of all texts.
    std::fill_n(m_units.Reserve(OrderUnits), OrderUnits, WChar{0});
    m_sorted.Shrink(0);
    SortedMember* const sorted = m_sorted.Reserve(count);
    m_sorted.Take(count);
    if (count <= MaxRankedMembers && RankMembers(first, count, sorted))
    {
        return;
    }
    for (std::size_t i = 0; i < count; ++i)
    {
        const Member& member = m_members[first + i];
        sorted[i] = {GetOrder(GetKey(member).data(), member.key.size), &member};
    }
    std::sort(sorted, sorted + count, [this](const auto& left, const auto& right) { return IsBefore(left, right); });
}

// Sorts a few members by counting for each those that come before it: branches would be guessed wrong half
// of the time. False if two keys begin alike.
bool DocumentBuilder::RankMembers(std::size_t first, std::size_t count, SortedMember* sorted)
{
    std::array<std::int64_t, MaxRankedMembers> orders;
    std::array<std::size_t, MaxRankedMembers> ranks;
    bool isTied = false;
    for (std::size_t i = 0; i < count; ++i)
    {
        const Text& key = m_members[first + i].key;
        const std::int64_t order = GetOrder(m_units.begin() + key.begin, key.size);
        std::size_t rank = i;
        for (std::size_t k = 0; k < i; ++k)
        {
            const std::int64_t difference = order - orders[k];
            const std::size_t isBehind = static_cast<std::uint64_t>(difference) >> 63;
            ranks[k] += isBehind;
            rank -= isBehind;
            isTied |= difference == 0;
        }
        orders[i] = order;
        ranks[i] = rank;
    }
    for (std::size_t i = 0; i < count && !isTied; ++i)
    {
        sorted[ranks[i]] = {orders[i], &m_members[first + i]};
    }
    return !isTied;
}

// A key is refused when it comes behind one that got a value, whatever comes behind itself.
void DocumentBuilder::CheckDuplicate(const SortedMember& before, const SortedMember& member)
{
    if (before.member->kind != Kind::Missing && IsSameKey(before, member))
    {
        throw std::runtime_error("Duplicate attribute");
    }
}

// The object, its entries, and what they hold lie one behind the other.
std::shared_ptr<DataObject> DocumentBuilder::MakeObject(const Level& level)
{
    using Allocator = Detail::ChunkAllocator<DataObject>;
    const std::size_t objects = m_objects.GetSize() - level.firstObject;
    const std::size_t texts = m_texts.GetSize() - level.firstText;
    const std::size_t units = m_units.GetSize() - level.firstUnit;
    const std::size_t blocks = (units + RoomToSpare - 1) / RoomToSpare;
    const std::size_t size = m_sorted.GetSize() * sizeof(ValueMap::value_type) +
                             objects * sizeof(std::shared_ptr<DataObject>) + texts * sizeof(WStringView) +
                             blocks * RoomToSpare * sizeof(WChar);
    Detail::Chunk& chunk = m_chunks.GetChunk(Allocator::MaxSize + Detail::Chunk::RoundUp(size));
    std::shared_ptr<DataObject> object = std::allocate_shared<DataObject>(Allocator(chunk));
    if (m_sorted.GetSize() > 0)
    {
        ValueMap& map = object->m_values;
        map.m_chunk.Borrow(chunk);
        map.m_read = static_cast<ValueMap::value_type*>(chunk.TakeMore(size));
        map.m_readObjects = reinterpret_cast<std::shared_ptr<DataObject>*>(map.m_read + m_sorted.GetSize());
        map.m_readObjectCount = objects;
        std::uninitialized_move_n(m_objects.begin() + level.firstObject, objects, map.m_readObjects);
        auto* const views = reinterpret_cast<WStringView*>(map.m_readObjects + objects);
        auto* const copies = reinterpret_cast<WChar*>(views + texts);
        for (std::size_t i = 0; i < blocks * RoomToSpare; i += RoomToSpare)
        {
            std::memcpy(copies + i, m_units.begin() + level.firstUnit + i, RoomToSpare * sizeof(WChar));
        }
        SetPlace(DataValue::Form::Text, copies, level.firstUnit);
        SetPlace(DataValue::Form::Texts, views, level.firstText);
        SetPlace(DataValue::Form::Objects, map.m_readObjects, level.firstObject);
        for (std::size_t i = 0; i < texts; ++i)
        {
            std::construct_at(views + i, GetCopy(m_texts[level.firstText + i]));
        }
        FillEntries(map);
    }
    return object;
}

template<class Item>
void DocumentBuilder::SetPlace(DataValue::Form form, Item* items, std::size_t first) noexcept
{
    m_places[static_cast<std::size_t>(form)] = {reinterpret_cast<std::byte*>(items), first, sizeof(Item)};
}

void DocumentBuilder::FillEntries(ValueMap& map)
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
        auto* const entry = std::construct_at(map.m_read + map.m_readCount, std::piecewise_construct,
                                              std::forward_as_tuple(GetCopy(member.key)), std::tuple<>());
        ++map.m_readCount;
        FillValue(member, entry->second);
    }
}

void DocumentBuilder::FillValue(const Member& member, DataValue& value)
{
    value.m_read = m_places[static_cast<std::size_t>(member.shape.form)].Find(member.begin);
    value.m_shape = member.shape;
    if (member.needsLists)
    {
        FillLists(member, value);
    }
}

void DocumentBuilder::FillLists(const Member& member, DataValue& value)
{
    value.m_shape.form = DataValue::Form::Nothing;
    DataValue::Lists& lists = value.EditLists();
    if (member.kind == Kind::Text)
    {
        lists.values.emplace_back(GetCopy({member.begin, member.textSize}));
        return;
    }
    for (std::size_t i = 0; i < member.textCount; ++i)
    {
        lists.values.emplace_back(GetText(member.firstText + i));
    }
    for (std::size_t i = 0; i < member.objectCount; ++i)
    {
        lists.objects.push_back(std::move(GetObject(member.firstObject + i)));
    }
}

// A text in the memory of the object that closes.
WStringView DocumentBuilder::GetCopy(const Text& text) const noexcept
{
    const Place& place = m_places[static_cast<std::size_t>(DataValue::Form::Text)];
    return {static_cast<const WChar*>(place.Find(text.begin)), text.size};
}

// A text of an array.
WStringView DocumentBuilder::GetText(std::size_t index) const noexcept
{
    return *static_cast<const WStringView*>(m_places[static_cast<std::size_t>(DataValue::Form::Texts)].Find(index));
}

std::shared_ptr<DataObject>& DocumentBuilder::GetObject(std::size_t index) const noexcept
{
    const Place& place = m_places[static_cast<std::size_t>(DataValue::Form::Objects)];
    return *static_cast<std::shared_ptr<DataObject>*>(place.Find(index));
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
        value.SetValue(WString(GetCopy({member.begin, member.textSize})), member.shape.type);
        break;
    case Kind::Object:
        value.SetObject(std::move(GetObject(member.begin)));
        break;
    case Kind::Array:
        ApplyArray(member, value);
        break;
    }
}

void DocumentBuilder::ApplyArray(const Member& member, DataValue& value)
{
    if (member.textCount + member.objectCount == 0)
    {
        value.AddEmptyArray();
        return;
    }
    // Of a mixed array's types the one that was set last stays, wherever the other elements stand.
    const bool areObjectsFirst = member.shape.type != EType::Object;
    for (const bool areObjects : {areObjectsFirst, !areObjectsFirst})
    {
        for (std::size_t i = 0; areObjects && i < member.objectCount; ++i)
        {
            value.AddObject(std::move(GetObject(member.firstObject + i)));
        }
        for (std::size_t i = 0; !areObjects && i < member.textCount; ++i)
        {
            value.AddText(WString(GetText(member.firstText + i)), member.textType);
        }
    }
}

} // namespace Quoll::Json
