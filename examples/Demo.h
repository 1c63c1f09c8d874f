// What the two programs of the demo share: how they talk to people and to each other.
#pragma once

#include <Quoll/JsonObject.h>
#include <Quoll/MultiClientPipe.h>
#include <Quoll/WideString.h>

#include <memory>
#include <string>
#include <string_view>

namespace Demo
{

// A connection's id is the server's count and a client's id the application's choice. When a
// connection ends, the endpoint drops the client that has the same id; so both programs file the
// way back to a peer under the number of the connection on which that peer came. Each has one
// peer, and the first connection of a server is number 0.
constexpr std::uint32_t PEER = 0;

constexpr std::uint32_t TIMEOUT = 20000; // milliseconds

// An endpoint with the settings that both programs must agree on.
std::shared_ptr<Quoll::Utilities::MultiClientPipe> MakeEndpoint(const Quoll::WString& name);

Quoll::WString FromArgument(std::string_view argument); // UTF-8
std::string ToText(Quoll::WStringView wide);            // UTF-8; never fails

// Writes one line of the transcript; lines of several threads don't mix.
void Say(std::string_view who, std::string_view what);

// Messages are JSON documents; their "type" says what else is in them.
using Document = std::shared_ptr<Quoll::Json::DataObject>;

Document MakeMessage(Quoll::WStringView type);
Quoll::WString Encode(const Document& message);
// Throws std::runtime_error for a text that is no document, or one of another type.
Document Decode(const Quoll::WString& text, Quoll::WStringView type);

// Type "report": what the service found in a line of a file, and the line: as text, or its bytes in
// hexadecimal if it isn't UTF-8 or has control characters.
Document MakeReport(const Quoll::WString& file, std::size_t number, const std::string& line);
// Type "seen": the report goes back in it.
Document AnswerTo(const Document& report);

// The beginning of a text, for the transcript, without control characters.
std::string Shorten(const std::string& text);

} // namespace Demo
