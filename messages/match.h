// Matches an error text with the messages of the catalogue, and finds the
// values of its fields.
//
// A text may match in several ways, called readings: an interface may be named
// "a vrf b", or like a whole text. Finder chooses one by the configuration.
// Without a configuration, the most specific reading is the best guess.
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
  // The name and value of each field, in the order of the text.
  std::vector<std::pair<std::string, std::string>> fields;

  // The value of a field, which the text must have.
  const std::string& Field(const std::string& name) const;
  bool HasField(const std::string& name) const;
};

// What a field may contain: only what the plug-in fills in, such as an address
// for <address>; or anything, for a text that a person typed.
enum class Fields : std::uint8_t { kAsPrinted, kAnything };

// All readings of a text as a refusal, in the order of the catalogue. If there
// are very many (hostile names), only some of them.
std::vector<Reading> ReadText(const std::string& text,
                              Fields fields = Fields::kAsPrinted);

// The readings whose pattern has the most characters in common with the text.
// All are of one message, which may also be a log message. Empty for an unknown
// text.
std::vector<Reading> BestReadings(const std::string& text);

}  // namespace ipav::messages

#endif  // IPAV_MESSAGES_MATCH_H_
