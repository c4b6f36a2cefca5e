#include "cli/commands/explain_json.h"

#include <vector>

#include "cli/shared_model.h"
#include "host/datastore/model.h"
#include "messages/catalogue.h"
#include "messages/match.h"

namespace ipav::cli {

namespace {

using nlohmann::ordered_json;

ordered_json JsonOf(const messages::Message& message) {
  std::vector<std::string> texts;
  for (const messages::Text& text : message.texts) texts.push_back(text.shown);
  return {{"rule", message.rule},     {"title", message.title},
          {"anchor", message.anchor}, {"texts", texts},
          {"about", message.about},   {"advice", message.advice},
          {"why", message.why},       {"points", messages::PointsOf(message)}};
}

// Where the data model has the point.
ordered_json UsesOf(const messages::Point& point, const Locations& locations) {
  auto uses = ordered_json::array();
  for (const datastore::UseSite& site : SharedModel(locations).use_sites()) {
    // A use site may append to the name.
    if (site.opaque.rfind(point.name, 0) != 0) continue;
    auto changes = ordered_json::array();
    for (const datastore::Dependency& dependency : site.dependencies) {
      changes.push_back(datastore::SchemaPath(site, dependency));
    }
    uses.push_back({{"path", site.path},
                    {"callOnce", site.call_once},
                    {"dependencies", changes}});
  }
  return uses;
}

}  // namespace

ordered_json ExplainAsJson(const Locations& locations,
                           const std::string& topic) {
  ordered_json json = {{"topic", topic}};
  if (const messages::Point* point = messages::FindPoint(topic)) {
    json.update({{"point", point->name},
                 {"about", {point->about}},
                 {"steps", point->steps},
                 {"rules", point->reports},
                 {"uses", UsesOf(*point, locations)}});
    return json;
  }
  if (const messages::Message* message = messages::FindMessage(topic)) {
    json.update(JsonOf(*message));
    return json;
  }
  const auto readings = messages::BestReadings(topic);
  if (readings.empty()) return nullptr;
  json.update(JsonOf(*readings.front().message));
  for (const messages::Reading& reading : readings) {
    auto fields = ordered_json::object();
    for (const auto& [field, value] : reading.fields) fields[field] = value;
    json["readings"].push_back(fields);
  }
  return json;
}

}  // namespace ipav::cli
