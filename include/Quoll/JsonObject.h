// Objects of a JSON document.
//
//     auto document = std::make_shared<Quoll::Json::DataObject>();
//     document->SetValue("event"_w, "scan finished"_w);
//     document->SetIntValue("files"_w, 1200);
//     document->GetValue("hits"_w).AddObject(hit);
//     WString text = Quoll::Json::JsonWriter::Encode(*document, false);
//
// Order:      keys are ordered by their 16-bit units.
// References: what GetValue refers to stays where it is as long as the object lives, and so does
//             every key, whatever else is added. Objects may outlive the document that they were
//             read with, and the thread that read it.
// Depth:      objects may be nested as deep as memory allows: copying, reading, writing and
//             destroying them takes a few frames of the stack.
// Threads:    plain data: any number of threads may read an object; one that changes it needs it
//             alone.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/JsonValue.h"
#include "Quoll/WideString.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <map>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace Quoll::Json
{

/// @cond
namespace Detail
{

class Chunk;

/// The memory that entries were read into; no concern of clients. It is kept by the object that they
/// were read with, and by the reference itself once the entries belong to another object.
class QUOLL_API ChunkReference
{
public:
    ChunkReference() noexcept = default;
    ChunkReference(const ChunkReference&) = delete;
    ChunkReference& operator=(const ChunkReference&) = delete;
    ChunkReference(ChunkReference&& other) noexcept
        : m_chunk(std::exchange(other.m_chunk, nullptr))
        , m_isKept(std::exchange(other.m_isKept, false))
    {
        if (m_chunk != nullptr && !m_isKept)
        {
            Retain();
            m_isKept = true;
        }
    }
    ~ChunkReference()
    {
        if (m_isKept)
        {
            Release();
        }
    }
    void Borrow(Chunk& chunk) noexcept
    {
        m_chunk = &chunk;
    }

private:
    void Retain() noexcept;
    void Release() noexcept;

    Chunk* m_chunk = nullptr;
    bool m_isKept = false;
};

} // namespace Detail
/// @endcond

/// The key of an entry: a view of text that lives as long as the entry.
class QUOLL_API Key : public WStringView
{
public:
    /// Views the text.
    explicit Key(WStringView text) noexcept
        : WStringView(text)
    {
    }
    /// A copy as a string.
    // NOLINTNEXTLINE(google-explicit-constructor): a key stands wherever wide text is taken
    operator WString() const
    {
        return WString(data(), size());
    }
};

/// The entries of an object, ordered by the units of their keys: a read-only map of key to value,
/// with the standard's names.
///
/// Looking a key up takes logarithmic time. Iterators are good until a key is added, or the map moves.
class QUOLL_API ValueMap
{
public:
    using key_type = Key;                               ///< Converts to wide views and strings.
    using mapped_type = DataValue;                      ///< The value.
    using value_type = std::pair<const Key, DataValue>; ///< What iterators refer to.
    using size_type = std::size_t;                      ///< A number of entries.
    using difference_type = std::ptrdiff_t;             ///< A distance.
    using const_reference = const value_type&;          ///< The only kind of reference given.

private:
    struct Before
    {
        using is_transparent = void;
        bool operator()(WStringView left, WStringView right) const noexcept
        {
            return left < right;
        }
    };
    using Added = std::map<Key, DataValue, Before>;

public:
    /// A bidirectional iterator.
    class QUOLL_API const_iterator
    {
    public:
        using iterator_category = std::bidirectional_iterator_tag; ///< Forwards and backwards.
        using value_type = ValueMap::value_type;                   ///< Key and value.
        using difference_type = std::ptrdiff_t;                    ///< A distance.
        using pointer = const value_type*;                         ///< To an entry.
        using reference = const value_type&;                       ///< To an entry.

        /// An iterator of no map.
        const_iterator() noexcept = default;
        /// The entry.
        reference operator*() const noexcept
        {
            return m_isAdded ? *m_added : *m_read;
        }
        /// The entry.
        pointer operator->() const noexcept
        {
            return &**this;
        }
        /// The entry behind this one.
        const_iterator& operator++() noexcept
        {
            if (m_isAdded)
            {
                ++m_added;
            }
            else
            {
                ++m_read;
            }
            Settle();
            return *this;
        }
        /// The entry behind this one.
        const_iterator operator++(int) noexcept
        {
            const_iterator before = *this;
            ++*this;
            return before;
        }
        /// The entry before this one.
        const_iterator& operator--() noexcept;
        /// The entry before this one.
        const_iterator operator--(int) noexcept
        {
            const_iterator before = *this;
            --*this;
            return before;
        }
        /// Whether both are at the same entry of the same map.
        friend bool operator==(const const_iterator& left, const const_iterator& right) noexcept
        {
            return left.m_read == right.m_read && left.m_added == right.m_added;
        }

    private:
        friend class ValueMap;

        const_iterator(const ValueMap& map, const value_type* read, Added::const_iterator added) noexcept
            : m_map(&map)
            , m_read(read)
            , m_added(added)
        {
            Settle();
        }
        // Finds out which of both entries comes next.
        void Settle() noexcept
        {
            if (m_map->m_added != nullptr)
            {
                SettleAmongAdded();
            }
        }
        void SettleAmongAdded() noexcept;

        const ValueMap* m_map = nullptr;
        const value_type* m_read = nullptr; // the next entry that was read
        Added::const_iterator m_added;      // the next one that was added
        bool m_isAdded = false;             // which of them comes first
    };

    using iterator = const_iterator;                                      ///< Entries are read-only.
    using const_reverse_iterator = std::reverse_iterator<const_iterator>; ///< From the last to the first.

    ValueMap() noexcept = default;                  ///< An empty map.
    ValueMap(const ValueMap&) = delete;             ///< DataObject copies.
    ValueMap& operator=(const ValueMap&) = delete;  ///< DataObject copies.
    ValueMap(ValueMap&& other) noexcept;            ///< Takes the entries, which stay where they are.
    ValueMap& operator=(ValueMap&& other) noexcept; ///< Takes the entries in place of its own.
    ~ValueMap();

    /// The number of entries.
    size_type size() const noexcept
    {
        return m_readCount + (m_added != nullptr ? m_added->size() : 0);
    }
    /// Whether there is no entry.
    bool empty() const noexcept
    {
        return size() == 0;
    }
    /// The entry of the least key.
    const_iterator begin() const noexcept
    {
        return {*this, m_read, m_added != nullptr ? m_added->begin() : Added::const_iterator()};
    }
    /// Behind the entry of the greatest key.
    const_iterator end() const noexcept
    {
        return {*this, m_read + m_readCount, m_added != nullptr ? m_added->end() : Added::const_iterator()};
    }
    /// The same as begin().
    const_iterator cbegin() const noexcept
    {
        return begin();
    }
    /// The same as end().
    const_iterator cend() const noexcept
    {
        return end();
    }
    /// The entry of the greatest key.
    const_reverse_iterator rbegin() const noexcept
    {
        return const_reverse_iterator(end());
    }
    /// Before the entry of the least key.
    const_reverse_iterator rend() const noexcept
    {
        return const_reverse_iterator(begin());
    }
    /// The entry of the key, or end().
    const_iterator find(WStringView key) const noexcept;
    /// The first entry whose key isn't less.
    const_iterator lower_bound(WStringView key) const noexcept;
    /// Whether there is an entry of the key.
    bool contains(WStringView key) const noexcept
    {
        return Find(key) != nullptr;
    }
    /// The number of entries of the key, 0 or 1.
    size_type count(WStringView key) const noexcept
    {
        return contains(key) ? 1 : 0;
    }
    /// The value of the key.
    /// @throws std::out_of_range  there is none
    const DataValue& at(WStringView key) const;

private:
    friend class DataObject;
    friend class DeepCopy;
    friend class Dismantling;
    friend class DocumentBuilder;
    friend class DocumentWriter;

    const DataValue* Find(WStringView key) const noexcept;
    DataValue& FindOrAdd(WStringView key);
    DataValue& Add(WStringView key);
    value_type* LowerBoundRead(WStringView key) const noexcept;

    // Entries that were read lie in order, with their keys and objects, in shared memory that the reference keeps. The
    // keys of the others are arrays of their own.
    Detail::ChunkReference m_chunk;
    value_type* m_read = nullptr;
    size_type m_readCount = 0;
    std::shared_ptr<DataObject>* m_readObjects = nullptr;
    size_type m_readObjectCount = 0;
    std::unique_ptr<Added> m_added; // made for the first
};

/// An object: an ordered map of keys to values.
///
/// Getters never add a key, and give a default for a key that is missing. Setters add the key
/// if needed, and then do what the operation of that name does to the value.
class QUOLL_API DataObject
{
public:
    using StringList = DataValue::StringList; ///< Texts of an array.
    using ObjectList = DataValue::ObjectList; ///< Objects of an array.

    DataObject() noexcept = default;         ///< Without an entry.
    DataObject(const DataObject& other);     ///< A deep copy.
    DataObject(DataObject&& other) noexcept; ///< Takes the entries, which stay where they are.
    /// A deep copy in place of what was there; unchanged if memory runs out.
    DataObject& operator=(const DataObject& other);
    /// Takes the entries in place of its own.
    DataObject& operator=(DataObject&& other) noexcept;
    ~DataObject();

    /// Whether there is an entry of the key.
    bool Contains(WStringView key) const noexcept;
    /// Whether there is no entry.
    bool IsEmpty() const noexcept;
    /// Whether the key is missing, or its value is of type `Null`.
    bool IsNullValue(WStringView key) const noexcept;
    /// DataValue::GetBooleanValue of the key.
    bool GetBooleanValue(WStringView key, bool defaultValue = false) const noexcept;
    /// DataValue::GetIntValue of the key.
    int GetIntValue(WStringView key, int defaultValue = 0) const noexcept;
    /// DataValue::GetUint64Value of the key.
    std::uint64_t GetUint64Value(WStringView key, std::uint64_t defaultValue = 0) const noexcept;
    /// DataValue::GetStringValue of the key.
    WString GetStringValue(WStringView key, const WString& defaultValue = WString()) const;
    /// DataValue::GetObject of the key; null if the key is missing.
    std::shared_ptr<const DataObject> GetDataObject(WStringView key) const;
    /// DataValue::GetObjectArray of the key; empty if the key is missing.
    const ObjectList& GetObjectArray(WStringView key) const;
    /// DataValue::GetStringArray of the key; empty if the key is missing.
    const StringList& GetStringArray(WStringView key) const;

    /// The value of the key, which is added with a null value if it is new. The reference is good
    /// as long as the object lives.
    DataValue& GetValue(WStringView key);
    /// All entries.
    const ValueMap& GetValueMap() const noexcept
    {
        return m_values;
    }

    /// DataValue::SetBooleanValue of the key.
    void SetBooleanValue(WStringView key, const BooleanToken& token);
    /// The same with the text "true" or "false". Takes nothing but a bool.
    template<class Bool>
        requires std::is_same_v<Bool, bool>
    void SetBooleanValue(WStringView key, Bool value)
    {
        SetBooleanValue(key, BooleanToken(value));
    }
    /// DataValue::SetIntValue of the key.
    void SetIntValue(WStringView key, const IntegerToken& token);
    /// The same with the number's decimal digits.
    void SetIntValue(WStringView key, int value);
    /// The same with the number's decimal digits.
    void SetUint64Value(WStringView key, std::uint64_t value);
    /// DataValue::SetValue of the key.
    void SetValue(WStringView key, WString text);
    /// Makes the value an array of the texts.
    void SetValue(WStringView key, StringList texts);
    /// Makes the value an array of the texts.
    void SetValue(WStringView key, std::initializer_list<WString> texts)
    {
        SetValue(key, StringList(texts));
    }
    /// DataValue::SetNull of the key.
    void SetNullValue(WStringView key);
    /// DataValue::SetObject of the key.
    void SetObject(WStringView key, std::shared_ptr<DataObject> object);
    /// Makes the value an array of the objects.
    void SetObjectArray(WStringView key, ObjectList objects);
    /// DataValue::SetEmptyObjectArray of the key.
    void SetEmptyObjectArrayValue(WStringView key);
    /// DataValue::SetEmptyStringArray of the key.
    void SetEmptyStringArrayValue(WStringView key);

    /// @name Getters of an object that may be missing
    /// They take the object by pointer, and give the default for a null pointer:
    /// `DataObject::GetIntValue(document->GetDataObject("scan"_w).get(), "files"_w, 0)`.
    /// @{
    static bool Contains(const DataObject* object, WStringView key) noexcept;    ///< False without an object.
    static bool IsEmpty(const DataObject* object) noexcept;                      ///< True without an object.
    static bool IsNullValue(const DataObject* object, WStringView key) noexcept; ///< True without an object.
    /// `defaultValue` without an object.
    static bool GetBooleanValue(const DataObject* object, WStringView key, bool defaultValue = false) noexcept;
    /// `defaultValue` without an object.
    static int GetIntValue(const DataObject* object, WStringView key, int defaultValue = 0) noexcept;
    /// `defaultValue` without an object.
    static std::uint64_t GetUint64Value(const DataObject* object, WStringView key,
                                        std::uint64_t defaultValue = 0) noexcept;
    /// `defaultValue` without an object.
    static WString GetStringValue(const DataObject* object, WStringView key, const WString& defaultValue = WString());
    /// Null without an object.
    static std::shared_ptr<const DataObject> GetDataObject(const DataObject* object, WStringView key);
    /// Empty without an object.
    static const ObjectList& GetObjectArray(const DataObject* object, WStringView key);
    /// Empty without an object.
    static const StringList& GetStringArray(const DataObject* object, WStringView key);
    /// @}

private:
    friend class DeepCopy;
    friend class Dismantling;
    friend class DocumentBuilder;

    ValueMap m_values;
    // While the object waits to be destroyed, after others of its document.
    std::shared_ptr<DataObject> m_nextDoomed;
};

} // namespace Quoll::Json
