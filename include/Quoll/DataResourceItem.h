/// @file
/// A typed view of a JSON document that describes a resource:
///
///     {"id":"7","type":"scan","attributes":{"files":1200,"state":"done"}}
///
/// Attributes are got and set by their names; the envelope is out of sight.
///
///     using namespace Quoll::Literals;
///     DataResourceItem item("7"_w, "scan"_w);
///     item.SetIntValue("files"_w, 1200);
///     WString text = Quoll::Json::JsonWriter::Encode(item.AsDataObject(), false);
///
/// A getter of an attribute that is missing gives an empty value, and converts what is there as
/// Quoll::Json::DataObject does: "12" reads as the number 12. Every operation takes logarithmic time in the number
/// of attributes, and linear time in the value.
///
/// Threads:  plain data: any number of threads may read an item; one that changes it, or the document, needs both
///           alone. Failures: std::bad_alloc may come from any operation, and what else is thrown stands there.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/JsonObject.h"
#include "Quoll/UtcTime.h"
#include "Quoll/WideString.h"

#include <cstdint>
#include <memory>

namespace Quoll::Utilities
{

/// A regular expression (ECMAScript) for an id in the style of a GUID, as a whole or as a part of a text. The library
/// doesn't use it.
inline constexpr WideLiteral ResourceIdPattern =
    "[a-fA-F0-9]{8}-[a-fA-F0-9]{4}-[a-fA-F0-9]{4}-[a-fA-F0-9]{4}-[a-fA-F0-9]{12}"_w;

/// The same for an "id" member in the text of a document.
inline constexpr WideLiteral ResourceIdMemberPattern =
    "\"id\"\\s*:\\s*\"[a-fA-F0-9]{8}-[a-fA-F0-9]{4}-[a-fA-F0-9]{4}-[a-fA-F0-9]{4}-[a-fA-F0-9]{12}\""_w;

/// The name of the member that holds a resource's links. The library doesn't read it.
inline constexpr WideLiteral ResourceLinksName = "links"_w;

/// What a resource can be asked; see DataResourceItem.
class QUOLL_API IDataResourceItem
{
public:
    using StringList = Json::DataObject::StringList; ///< Texts of an array.
    using ObjectList = Json::DataObject::ObjectList; ///< Objects of an array.

    /// The id; empty if it is missing.
    virtual WString GetId() const = 0;
    /// Sets the id.
    virtual void SetId(const WString& id) = 0;
    /// The type; empty if it is missing.
    virtual WString GetType() const = 0;
    /// Sets the type.
    virtual void SetType(const WString& type) = 0;
    /// The attribute's text; empty if it is missing.
    virtual WString GetStringValue(WStringView name) const = 0;
    /// Makes the attribute a text.
    virtual void SetStringValue(WStringView name, const WString& value) = 0;
    /// The attribute's number; 0 if it is missing or none.
    virtual int GetIntValue(WStringView name) const = 0;
    /// The moment that the attribute's text says.
    virtual UtcTime GetDateValue(WStringView name) const = 0;
    /// Makes the attribute a number.
    virtual void SetIntValue(WStringView name, int value) = 0;
    /// The attribute's number; 0 if it is missing or none.
    virtual std::uint64_t GetUint64Value(WStringView name) const = 0;
    /// Makes the attribute a number.
    virtual void SetUint64Value(WStringView name, std::uint64_t value) = 0;
    /// Makes the attribute a text that says the moment.
    virtual void SetDateValue(WStringView name, const UtcTime& value) = 0;
    /// What a boolean attribute says; false if it is missing or none.
    virtual bool GetBoolValue(WStringView name) const = 0;
    /// Makes the attribute a boolean.
    virtual void SetBoolValue(WStringView name, bool value) = 0;
    /// The document itself, not a copy.
    virtual std::shared_ptr<Json::DataObject> AsDataObject() const = 0;
    /// Makes the attribute an array of texts.
    virtual void SetStringArrayValue(WStringView name, const StringList& values) = 0;
    /// The attribute's texts; empty if it is missing or no array of texts. The reference is good until the attribute
    /// changes or ends.
    virtual const StringList& GetStringArrayValue(WStringView name) const = 0;
    /// Makes the attribute an array of the objects, which are shared with the caller.
    virtual void SetObjectArrayValue(WStringView name, const ObjectList& values) = 0;
    /// The attribute's objects; empty if it is missing or no array of objects. The reference is good until the
    /// attribute changes or ends.
    virtual const ObjectList& GetObjectArrayValue(WStringView name) const = 0;
    /// Makes the attribute the object, which is shared with the caller; a null pointer is written as null.
    virtual void SetObjectValue(WStringView name, const std::shared_ptr<Json::DataObject>& value) = 0;
    /// The attribute's object; null if it is missing or no object.
    virtual std::shared_ptr<const Json::DataObject> GetObjectValue(WStringView name) const = 0;

    virtual ~IDataResourceItem();
};

/// A resource in a document. A copy of an item is a second view of the same document.
///
/// A document is a resource if "attributes" is an object, or if it is missing or null: the document gets an empty
/// object then, as soon as an item is made of it. Of an array of objects the first one counts. Anything else under that
/// name is refused. An item holds on to the object that it found; what a client puts into its place in the document
/// later is no concern of the item.
class QUOLL_API DataResourceItem : public IDataResourceItem
{
public:
    /// A new document without attributes. An empty id or type isn't stored.
    DataResourceItem(const WString& id, const WString& type);

    /// Reads a document. A key that comes twice has the later value.
    /// @throws std::invalid_argument  "The text of a resource item is no valid JSON document"; "invalid stoul
    ///                                argument": no hexadecimal digit in a `\u` escape; "The attributes of a resource
    ///                                item are no JSON object"
    explicit DataResourceItem(WStringView text);

    /// Adopts the document, which stays shared with the caller.
    /// @throws std::invalid_argument  "A resource item has no JSON document": the pointer is null; "The attributes of
    ///                                a resource item are no JSON object"
    explicit DataResourceItem(std::shared_ptr<Json::DataObject> document);

    DataResourceItem(const DataResourceItem& other);            ///< Another view of the document.
    DataResourceItem& operator=(const DataResourceItem& other); ///< Becomes another view of that document.

    WString GetId() const override;
    void SetId(const WString& id) override;
    WString GetType() const override;
    void SetType(const WString& type) override;
    WString GetStringValue(WStringView name) const override;
    void SetStringValue(WStringView name, const WString& value) override;
    int GetIntValue(WStringView name) const override;
    /// The moment that the attribute's text says: its 16 hexadecimal digits, or a text in ISO 8601. It is taken as UTC.
    /// @throws std::invalid_argument  as the constructor of UtcTime; the attribute is missing or empty
    /// @throws std::out_of_range  as the constructor of UtcTime
    /// @throws Win32Exception  as the constructor of UtcTime
    UtcTime GetDateValue(WStringView name) const override;
    void SetIntValue(WStringView name, int value) override;
    std::uint64_t GetUint64Value(WStringView name) const override;
    void SetUint64Value(WStringView name, std::uint64_t value) override;
    /// Stores the moment with all of its ticks: in UTC, as UtcTime prints it in 16 hexadecimal digits.
    void SetDateValue(WStringView name, const UtcTime& value) override;
    bool GetBoolValue(WStringView name) const override;
    void SetBoolValue(WStringView name, bool value) override;
    std::shared_ptr<Json::DataObject> AsDataObject() const override;
    void SetStringArrayValue(WStringView name, const StringList& values) override;
    const StringList& GetStringArrayValue(WStringView name) const override;
    void SetObjectArrayValue(WStringView name, const ObjectList& values) override;
    const ObjectList& GetObjectArrayValue(WStringView name) const override;
    void SetObjectValue(WStringView name, const std::shared_ptr<Json::DataObject>& value) override;
    std::shared_ptr<const Json::DataObject> GetObjectValue(WStringView name) const override;
    ~DataResourceItem() override;

private:
    void InitAttributesPointer();

    std::shared_ptr<Json::DataObject> m_root;
    std::shared_ptr<Json::DataObject> m_attributes;
};

} // namespace Quoll::Utilities
