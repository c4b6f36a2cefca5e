// The fields of a text: which message it is, and what was filled in.
//
// A text alone does not always say that. An interface may be named "a vrf b",
// or as a whole text, so there can be several readings. The configuration
// decides between them (Finder); without one the most specific reading is the
// best guess.
#ifndef IPAV_MESSAGES_MATCH_H_
#define IPAV_MESSAGES_MATCH_H_

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "messages/catalogue.h"

namespace ipav::messages {

struct Reading {
  const Message* message;
  const Text* text;
  // Each field with its value, in the order of the text.
  std::vector<std::pair<std::string, std::string>> fields;

  // The value of a field that the text has.
  const std::string& Field(const std::string& name) const;
  bool HasField(const std::string& name) const;
};

// What a field may hold: only what the plug-in fills in, as an address in
// <address>; or anything, as in a text that a person has typed.
enum class Fields : std::uint8_t { kAsPrinted, kAnything };

// Every reading of a text as a refusal, in the order of the catalogue. A text
// with very many readings (hostile names) gives only some of them.
std::vector<Reading> ReadText(const std::string& text,
                              Fields fields = Fields::kAsPrinted);

// Those readings whose pattern has the most characters in common with the text:
// all of one message. Texts of logs are read as well. Empty for an unknown
// text.
std::vector<Reading> BestReadings(const std::string& text);

}  // namespace ipav::messages

#endif  // IPAV_MESSAGES_MATCH_H_
