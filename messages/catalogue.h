// The messages of docs/messages.md as a table: what identifies each, what to do
// about it, and how its text is read back.
//
// A text alone does not always tell what was filled in, for an interface may be
// named as oddly as "a vrf b". So there can be several readings; the data tell
// which of them is meant.
#ifndef IPAV_MESSAGES_CATALOGUE_H_
#define IPAV_MESSAGES_CATALOGUE_H_

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace ipav::messages {

struct Message {
  std::string rule;    // stable identifier
  std::string title;   // heading in docs/messages.md
  std::string anchor;  // of that heading
  std::string advice;
  std::vector<std::string> points;  // that tell it
  // Its texts. <field> stands for what is filled in; the last word of its name
  // says what that can be, as in <other-vrf>.
  std::vector<std::string> patterns;
};

// In the order of the document.
const std::vector<Message>& Messages();

// The message of that identifier, null where there is none.
const Message* FindMessage(const std::string& rule);

struct Reading {
  const Message* message;
  std::size_t pattern;  // which of the message's
  std::map<std::string, std::string> fields;
};

// The readings of an operator's text: none for one that no point tells, and no
// more than 16.
std::vector<Reading> ReadText(const std::string& text);

}  // namespace ipav::messages

#endif  // IPAV_MESSAGES_CATALOGUE_H_
