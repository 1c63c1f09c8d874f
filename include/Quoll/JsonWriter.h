// Writes JSON documents.
//
//     WString text = JsonWriter::Encode(*document, false);
//
//     JsonWriter writer(stream);                      // the same without a document
//     writer.WriteObject([&] {
//         writer.WriteProperty("event"_w, "scan finished"_w);
//         writer.WriteObject("scan"_w, [&] { writer.WriteProperty("files"_w, 1200); });
//     });                                             // {"event":"scan finished","scan":{"files":1200}}
//
// The output is compact: no blank and no line break stands between its parts. Of the dialect:
//
// - A text, or a key of a document, is escaped as JsonEncoder::ToEscapedString does it if
//   JsonEncoder::NeedsEscaping; it ends at its first NUL then. Otherwise it goes out as it is,
//   with control characters and NULs.
// - Every array but one of objects is an array of texts: `[1,2]` that was read is written
//   `["1","2"]`.
// - A property whose value is of type `Object` but has no object is written as null.
//
// Streams:  a writer takes any stream of wide units, and uses nothing of it but its write operation.
//           What goes wrong with it is the stream's to tell: by its state, and by throwing if it was
//           told to. Every operation has passed all of its output to the stream when it
//           returns; it doesn't flush it.
// Depth:    documents may be nested as deep as memory allows, and are written on a few frames of
//           the stack.
// Failures: std::bad_alloc, and what the stream throws.
// Threads:  a writer belongs to one thread, which reads the document alone or with other readers.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/JsonObject.h"
#include "Quoll/WideString.h"

#include <concepts>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <map>
#include <memory>
#include <vector>

namespace Quoll::Json
{

/// Writes documents, or properties given one by one.
class QUOLL_API JsonWriter
{
public:
    /// A stream of wide units.
    using Stream = std::basic_ostream<WChar>;

    /// Writes to the stream, which must outlive the writer. Empty texts are left out, null values
    /// aren't.
    explicit JsonWriter(Stream& stream);
    JsonWriter(const JsonWriter&) = delete;            ///< Both would write to one stream.
    JsonWriter& operator=(const JsonWriter&) = delete; ///< Both would write to one stream.

    /// The document's text: Write of a new writer, with SetSkipNullOrEmpty(skipNullOrEmpty).
    static WString Encode(const DataObject& object, bool skipNullOrEmpty);
    /// The same. A null pointer gives "null", or an empty text with `skipNullOrEmpty`.
    static WString Encode(const std::shared_ptr<const DataObject>& object, bool skipNullOrEmpty);
    /// The same with WriteSorted.
    static WString EncodeSorted(const DataObject& object, bool skipNullOrEmpty);

    /// Whether WriteProperty leaves properties out whose text is empty; at first it does. Documents
    /// aren't concerned.
    void SetSkipEmptyStringValues(bool skip) noexcept;
    /// Whether documents are written without the entries whose value is null or empty, as
    /// DataValue::IsEmpty has it, and arrays without null pointers; at first they aren't. An entry that
    /// holds nothing but a null pointer isn't empty: its key and colon are written, and nothing behind them.
    void SetSkipNullOrEmpty(bool skip) noexcept;

    /// Writes the document, its entries and those of all its objects by ascending keys.
    void Write(const DataObject& object);
    /// Writes the document, its own entries by descending keys, and those of the objects in it by
    /// ascending ones.
    void WriteSorted(const DataObject& object);

    /// @name Property by property
    /// Names are written as they are: nothing in them is escaped. A comma is written before every
    /// property of an object but its first; properties outside of any object get none.
    /// @{

    /// Writes an object, whose properties the callback writes. If it throws, the object is closed
    /// for the writer, so that the next property belongs to the object around it, but `}` isn't
    /// written.
    void WriteObject(const std::function<void()>& callback);
    /// The same as a property.
    void WriteObject(WStringView name, const std::function<void()>& callback);
    /// Writes a text, unless it is empty and such are left out.
    void WriteProperty(WStringView name, WStringView value);
    /// Writes an array of texts.
    void WriteProperty(WStringView name, const std::vector<WString>& values);
    /// Writes a decimal number.
    void WriteProperty(WStringView name, int value);
    /// Writes a decimal number.
    void WriteProperty(WStringView name, unsigned value);
    /// Writes a decimal number.
    void WriteProperty(WStringView name, std::uint64_t value);
    /// Writes a decimal number: the platform's own names of the unsigned types mean others elsewhere.
    template<class Number>
        requires std::same_as<Number, unsigned long> || std::same_as<Number, unsigned long long>
    void WriteProperty(WStringView name, Number value)
    {
        WriteProperty(name, static_cast<std::uint64_t>(value));
    }
    /// WriteBooleanProperty is for these.
    void WriteProperty(WStringView name, std::same_as<bool> auto value) = delete;
    /// Writes true or false.
    void WriteBooleanProperty(WStringView name, bool value);
    /// Writes every entry as a text.
    void WriteProperties(const std::map<WString, WString>& values);
    /// Writes every entry as an array of texts.
    void WriteProperties(const std::map<WString, std::vector<WString>>& values);
    /// @}

private:
    class Level;

    void Put(WStringView text);
    void WriteSeparatorIfNeeded();
    void WriteName(WStringView name);

    Stream& m_stream;
    std::vector<bool> m_separatorNeeded; // one for every object that is open
    int m_level = -1;                    // the index of the last
    bool m_skipEmptyStringValues = true;
    bool m_skipNullOrEmpty = false;
};

} // namespace Quoll::Json
