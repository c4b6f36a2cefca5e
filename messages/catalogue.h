// The catalogue of messages: the texts of each, what it means, what to do about
// it, and which validation points report it. Compiled in from catalogue.toml.
#ifndef IPAV_MESSAGES_CATALOGUE_H_
#define IPAV_MESSAGES_CATALOGUE_H_

#include <string>
#include <vector>

namespace ipav::messages {

// One text of a message, with <fields>. Field names are unique within a text.
struct Text {
  std::string key;      // which of the message's texts; "" for the only one
  std::string pattern;  // with <limit> for a number that the element limits
  std::string shown;    // for documents: the pattern with that number
  std::vector<std::string> points;  // names of those that report it
};

// Texts for people are plain text, one string for each paragraph.
struct Message {
  std::string rule;    // stable identifier, as in "interface-overlap"
  std::string title;   // heading in docs/messages.md
  std::string anchor;  // of that heading
  std::vector<Text> texts;
  std::vector<std::string> about;  // what provokes it
  std::string advice;              // what to do; empty if nothing is refused
  // Follows the advice in the address space of the VRFs global and mgmt.
  std::string advice_in_global;
  std::vector<std::string> why;  // what is surprising about it
  bool refuses = true;           // otherwise its texts go to a log
};

struct Point {
  std::string name;
  std::string about;
  std::vector<std::string> steps;    // what it tests, in this order
  std::vector<std::string> reports;  // rules of its messages, in this order
};

// In the order of docs/messages.md.
const std::vector<Message>& Messages();
const std::vector<Point>& Points();

// By its rule or its anchor; null when there is none.
const Message* FindMessage(const std::string& name);
const Point* FindPoint(const std::string& name);

// Names of the points that report one of the message's texts.
std::vector<std::string> PointsOf(const Message& message);

bool Reports(const Point& point, const Text& text);

}  // namespace ipav::messages

#endif  // IPAV_MESSAGES_CATALOGUE_H_
