// Values of a JSON document.
//
// A value keeps its scalars as text, so that a number loses no digit between reading and writing;
// it is converted when a caller asks for an int or a 64-bit number, and not before.
//
// Types:     an array has one element type, that of the first element added; texts of every kind
//            stand in one list. A value also keeps what an operation doesn't mention: `SetValue`
//            on an array leaves an array, of one text.
// Ownership: nested objects are held by shared pointer. Copying a value copies them too, whatever
//            their depth, on no more than a few frames of the stack; a copy shares nothing. An
//            object must not be put into itself: such a ring is never freed, and writing it never
//            ends.
// Memory:    a value that was read from text converts to strings when somebody asks for a
//            reference to them. That is the only change that a const operation makes, and it is
//            safe among threads.
// Threads:   plain data: any number of threads may read a value; one that changes it needs it alone.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WideString.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

// The platform's SDK has macros of these names, which would rename the operations in some of the
// clients' sources and not in others.
#pragma push_macro("GetObject")
#undef GetObject

namespace Quoll::Json
{

class DataObject;

/// The kinds of a value. The number 3 isn't used.
enum class EType : std::uint8_t
{
    String = 0,     ///< Text, or an array of texts.
    Boolean = 1,    ///< "true" or "false", or an array of these.
    Integer = 2,    ///< Digits with an optional sign, or an array of these.
    Object = 4,     ///< An object, or an array of objects.
    EmptyArray = 5, ///< An array that was read without an element.
    Null = 6        ///< What a new value is.
};

/// The literal text of an integer: digits with an optional sign, as they were written.
class QUOLL_API IntegerToken
{
public:
    /// The text "0".
    IntegerToken();
    /// Any text; it isn't checked.
    explicit IntegerToken(WString text);

    /// The text.
    const WString& GetText() const noexcept
    {
        return m_text;
    }

private:
    WString m_text;
};

/// The literal text of a boolean.
class QUOLL_API BooleanToken
{
public:
    /// The text "false".
    BooleanToken();
    /// The text "true" or "false". Takes nothing but a bool.
    template<class Bool>
        requires std::is_same_v<Bool, bool>
    explicit BooleanToken(Bool value)
    {
        *this = value ? MakeTrue() : BooleanToken();
    }
    /// Any text; it isn't checked.
    explicit BooleanToken(WString text);

    /// The text.
    const WString& GetText() const noexcept
    {
        return m_text;
    }

private:
    static BooleanToken MakeTrue();

    WString m_text;
};

/// One value: a scalar, an object, an array of either, or null.
class QUOLL_API DataValue
{
public:
    /// Texts of an array.
    using StringList = std::vector<WString>;
    /// Objects of an array.
    using ObjectList = std::vector<std::shared_ptr<DataObject>>;

private:
    struct Lists
    {
        StringList values;
        ObjectList objects;
    };

public:
    /// A null value.
    DataValue() noexcept = default;
    /// A deep copy.
    DataValue(const DataValue& other);
    // NOLINTBEGIN(performance-noexcept-move-constructor): copying texts may need memory
    /// Takes the content; `other` is a null value afterwards. Copies texts that were read and never
    /// changed, since they are their object's, and so may throw std::bad_alloc: a std::vector of values
    /// copies them when it grows.
    DataValue(DataValue&& other);
    /// A deep copy in place of what was there; unchanged if memory runs out.
    DataValue& operator=(const DataValue& other);
    /// Takes the content, as the constructor does.
    DataValue& operator=(DataValue&& other);
    // NOLINTEND(performance-noexcept-move-constructor)
    ~DataValue()
    {
        if (const Lists* lists = m_lists.load(std::memory_order_acquire))
        {
            Delete(lists);
        }
    }

    /// Whether this is an array.
    bool IsArray() const noexcept
    {
        return m_shape.isArray;
    }
    /// Whether the type is `Null`, be it an array or not.
    bool IsNullValue() const noexcept
    {
        return m_shape.type == EType::Null;
    }
    /// True for the type `EmptyArray`; for `Object` whether there is no object, otherwise whether
    /// there is no text (an empty text is one).
    bool IsEmpty() const noexcept;
    /// Whether the type is `EmptyArray`, in an array.
    bool IsEmptyArrayValue() const noexcept
    {
        return m_shape.type == EType::EmptyArray && m_shape.isArray;
    }
    /// Whether this is a text.
    bool IsStringValue() const noexcept
    {
        return m_shape.type == EType::String && !m_shape.isArray;
    }
    /// Whether this is an integer.
    bool IsIntValue() const noexcept
    {
        return m_shape.type == EType::Integer && !m_shape.isArray;
    }
    /// Whether this is a boolean.
    bool IsBoolean() const noexcept
    {
        return m_shape.type == EType::Boolean && !m_shape.isArray;
    }
    /// Whether this is an object.
    bool IsObject() const noexcept
    {
        return m_shape.type == EType::Object && !m_shape.isArray;
    }
    /// Whether this is an array of texts.
    bool IsStringArray() const noexcept
    {
        return m_shape.type == EType::String && m_shape.isArray;
    }
    /// Whether this is an array of objects.
    bool IsObjectArray() const noexcept
    {
        return m_shape.type == EType::Object && m_shape.isArray;
    }

    /// The first text, whatever the type. An empty text for an array, or if there is none. The
    /// reference is good until the value changes or ends.
    const WString& GetString() const;
    /// A copy of the first text, of an array too; empty if there is none.
    WString GetStringValue() const;
    /// What a boolean says; `defaultValue` for any other type, or a text that is neither "true"
    /// nor "false".
    bool GetBooleanValue(bool defaultValue = false) const noexcept;
    /// The first text as a decimal number of 32 bits: white space, a sign, digits; what follows
    /// them is ignored, and no digit is 0. `defaultValue` if there is no text, if the number
    /// is out of range, or if the type isn't `Integer` and the text has anything but digits.
    int GetIntValue(int defaultValue = 0) const noexcept;
    /// The same for an unsigned number of 64 bits. A negative one wraps around: "-1" is 2^64 - 1.
    std::uint64_t GetUint64Value(std::uint64_t defaultValue = 0) const noexcept;
    /// The first object, if the type is `Object`; null if there is none.
    std::shared_ptr<DataObject> GetObject() const;
    /// GetObject for sources in which the platform's SDK has renamed that.
    std::shared_ptr<DataObject> GetObjectW() const
    {
        return GetObject();
    }
    /// GetObject for sources in which the platform's SDK has renamed that.
    std::shared_ptr<DataObject> GetObjectA() const
    {
        return GetObject();
    }
    /// The texts of an array; empty for other values. The reference is good until the value
    /// changes or ends.
    const StringList& GetStringArray() const;
    /// The objects of an array; empty for other values. The reference is good until the value
    /// changes or ends.
    const ObjectList& GetObjectArray() const;

    /// Makes `text` the only text, and sets the type. Objects, and whether this is an array, stay.
    void SetValue(WString text, EType type = EType::String);
    /// SetValue with the token's text and the type `Boolean`.
    void SetBooleanValue(const BooleanToken& token);
    /// SetValue with the token's text and the type `Integer`.
    void SetIntValue(const IntegerToken& token);
    /// Sets the type to `Null`, and drops texts and objects.
    void SetNull() noexcept;
    /// Makes `object` the only object, and sets the type to `Object`. Texts, and whether this is
    /// an array, stay. A null pointer is an object that is written as null.
    void SetObject(std::shared_ptr<DataObject> object);
    /// Makes this an array of texts, without any; drops objects too.
    void SetEmptyStringArray() noexcept;
    /// Makes this an array of objects, without any; drops texts too.
    void SetEmptyObjectArray() noexcept;

    /// Appends a text. The first one makes this an array of type `String`.
    void AddStringValue(WString text);
    /// Appends the token's text. The first text makes this an array of type `Boolean`.
    void AddBooleanValue(const BooleanToken& token);
    /// Appends the token's text. The first text makes this an array of type `Integer`.
    void AddIntValue(const IntegerToken& token);
    /// Appends an object. The first one makes this an array of type `Object`.
    void AddObject(std::shared_ptr<DataObject> object);
    /// Makes a null value an array of type `EmptyArray`; other values stay as they are.
    void AddEmptyArray() noexcept;

private:
    friend class DataObject;
    friend class DeepCopy;
    friend class Dismantling;
    friend class DocumentBuilder;
    friend class ValueContent;

    // How a value keeps what was read, in memory of the object that it belongs to.
    enum class Form : std::uint8_t
    {
        Nothing, // nothing, or the lists alone
        Text,
        Texts,
        Objects
    };

    struct Shape
    {
        std::uint32_t readSize; // of the text, or of the array
        Form form;
        EType type;
        bool isArray;
    };

    const WChar* GetReadText() const noexcept
    {
        return static_cast<const WChar*>(m_read);
    }
    const WStringView* GetReadTexts() const noexcept
    {
        return static_cast<const WStringView*>(m_read);
    }
    std::shared_ptr<DataObject>* GetReadObjects() const noexcept
    {
        return static_cast<std::shared_ptr<DataObject>*>(m_read);
    }
    static void Delete(const Lists* lists) noexcept;
    const Lists& GetLists() const;
    Lists& EditLists();
    void ClearLists() noexcept;
    void DropRead() noexcept;
    void AddText(WString text, EType type);
    void Take(DataValue& other);
    WStringView GetFirstText() const noexcept;
    bool HasText() const noexcept;
    const std::shared_ptr<DataObject>* GetFirstObject() const noexcept;

    // What the value holds, as soon as somebody asked for strings or changed it.
    mutable std::atomic<Lists*> m_lists = nullptr;
    // What was read, as long as it wasn't changed: units, views or shared pointers. It is the object's.
    void* m_read = nullptr;
    Shape m_shape = {0, Form::Nothing, EType::Null, false};
};

} // namespace Quoll::Json

#pragma pop_macro("GetObject")
