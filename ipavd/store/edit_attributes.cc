#include "ipavd/store/edit_attributes.h"

#include <map>
#include <string_view>

#include "ipavd/store/edit_xml.h"

namespace ipav::store {

namespace {

constexpr const char* kNetconf = "urn:ietf:params:xml:ns:netconf:base:1.0";
constexpr const char* kYang = "urn:ietf:params:xml:ns:yang:1";
constexpr const char* kDefaults = "urn:ietf:params:xml:ns:netconf:default:1.0";

template <typename Value>
using Names = std::map<std::string_view, Value>;

const Names<Operation>& Operations() {
  static const Names<Operation> kNames = {{"merge", Operation::kMerge},
                                          {"replace", Operation::kReplace},
                                          {"create", Operation::kCreate},
                                          {"delete", Operation::kDelete},
                                          {"remove", Operation::kRemove}};
  return kNames;
}

const Names<Insertion>& Insertions() {
  static const Names<Insertion> kNames = {{"first", Insertion::kFirst},
                                          {"last", Insertion::kLast},
                                          {"before", Insertion::kBefore},
                                          {"after", Insertion::kAfter}};
  return kNames;
}

const Names<bool>& Booleans() {
  static const Names<bool> kNames = {
      {"true", true}, {"1", true}, {"false", false}, {"0", false}};
  return kNames;
}

RpcError AttributeError(ErrorTag tag, const xmlNode* element,
                        const std::string& attribute,
                        const std::string& message) {
  return MakeError(
      tag, message, ErrorType::kApplication,
      {{"bad-attribute", attribute}, {"bad-element", NameOf(element)}});
}

class AttributeReader {
 public:
  AttributeReader(const xmlNode* element, const AttributeRules& rules,
                  EditAttributes* attributes)
      : element_(element), rules_(rules), attributes_(*attributes) {}

  std::optional<RpcError> ReadAll() {
    for (const xmlAttr* attribute = element_->properties; attribute != nullptr;
         attribute = attribute->next) {
      std::optional<RpcError> error = Read(attribute);
      if (error.has_value()) return error;
    }
    return CheckAnchor();
  }

 private:
  std::optional<RpcError> Read(const xmlAttr* attribute) {
    const std::string space = NamespaceOf(attribute);
    const std::string name = NameOf(attribute);
    const std::string value = ValueOf(attribute);
    if (space == kNetconf && name == "operation" && rules_.operation) {
      return Keep(Operations(), name, value, &attributes_.operation);
    }
    if (space == kYang && name == "insert" && rules_.insert) {
      return Keep(Insertions(), name, value, &attributes_.insert);
    }
    if (space == kYang && name == rules_.anchor_name && rules_.insert) {
      attributes_.anchor = value;
      return std::nullopt;
    }
    if (space == kDefaults && name == "default" && rules_.is_default) {
      return Keep(Booleans(), name, value, &attributes_.is_default);
    }
    return AttributeError(ErrorTag::kUnknownAttribute, element_, name,
                          "there is no attribute \"" + name + "\" here");
  }

  template <typename Value, typename Kept>
  std::optional<RpcError> Keep(const Names<Value>& values,
                               const std::string& name, const std::string& text,
                               Kept* kept) const {
    const auto value = values.find(text);
    if (value == values.end()) {
      return AttributeError(
          ErrorTag::kBadAttribute, element_, name,
          "\"" + text + "\" is no value of the attribute \"" + name + "\"");
    }
    *kept = value->second;
    return std::nullopt;
  }

  // An anchor where there must be one, and only there.
  std::optional<RpcError> CheckAnchor() const {
    const bool needs_anchor = attributes_.insert == Insertion::kBefore ||
                              attributes_.insert == Insertion::kAfter;
    if (needs_anchor == attributes_.anchor.has_value()) return std::nullopt;
    const std::string name = rules_.anchor_name;
    if (needs_anchor) {
      return AttributeError(ErrorTag::kMissingAttribute, element_, name,
                            "the attribute \"" + name + "\" is missing");
    }
    return AttributeError(
        ErrorTag::kUnknownAttribute, element_, name,
        "the attribute \"" + name + "\" is for insert before and after only");
  }

  const xmlNode* element_;
  const AttributeRules& rules_;
  EditAttributes& attributes_;
};

}  // namespace

std::optional<RpcError> ReadAttributes(const xmlNode* element,
                                       const AttributeRules& rules,
                                       EditAttributes* attributes) {
  return AttributeReader(element, rules, attributes).ReadAll();
}

}  // namespace ipav::store
