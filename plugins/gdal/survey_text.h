// A survey that is put together in memory and written as a text when it is whole: numbers are given
// and points are shared when all layers are known.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "losses.h"
#include "rows.h"
#include "written_system.h"

namespace tavo::gdal {

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();

enum class Kind : unsigned { kPoint, kLine, kPolygon };

// What of the format belongs to each kind of thing.
struct KindFacts {
  uint32_t columns, data, completion;
  uint32_t edge_columns, edges;
  uint32_t theminfo_columns, theminfo;
  TVO_FieldId number, id;
  TVO_EnumId object;
};
const KindFacts& factsOf(Kind kind);

// Things of one layer and kind, with their attributes and edges.
struct Group {
  Group(Kind which, size_t where, std::string called)
      : kind(which), system(where), name(std::move(called)), rows(factsOf(which).data) {}

  struct Value {
    uint32_t row, attribute;
    TVO_EnumId kind;
    int32_t integer;
    double real;
    size_t text;  // among texts
  };
  struct Edge {
    uint32_t row, start, end;  // vertices
  };
  struct Attribute {
    std::string name;
    std::string domain;  // of its choices, or empty
  };

  Kind kind;
  size_t system;
  std::string name;  // of the layer
  Rows rows;
  std::vector<int64_t> fids;  // of each row, below 1: none
  std::vector<size_t> codes;  // of each row, SIZE_MAX: none
  std::vector<Attribute> attributes;
  std::vector<Value> values;
  std::vector<std::string> texts;
  std::vector<Edge> edges;
};

// A code that things have. One that is made here gets its number, and a text of its own, when all
// others are known.
struct UsedCode {
  bool made = false;
  std::optional<uint16_t> number;
  std::string text, name;
  TVO_EnumId object = TVO_ENUM_POINT;
  // Attributes in the order in which they came: the widest kind of their values, and the choices.
  struct Attribute {
    std::string name, domain;
    TVO_EnumId kind;
  };
  std::vector<Attribute> attributes;

  void use(const std::string& attribute, const std::string& domain, TVO_EnumId kind);
};

struct Vertex {
  double x, y, z;  // in the file's units, as they are written; z NaN: none
};

class SurveyText {
 public:
  explicit SurveyText(std::string name) : name_(std::move(name)) {}

  Losses losses;
  tavo_units units = *tavo_default_units();
  tavo_build_options options = TAVO_BUILD_OPTIONS_INIT;
  // Elements of each domain of choices.
  std::map<std::string, std::vector<std::string>> choices;

  // Place of a system equal to this one.
  size_t addSystem(const WrittenSystem& system);
  const WrittenSystem& system(size_t place) const { return systems_[place]; }
  Group& addGroup(Kind kind, size_t system, const std::string& name) {
    return groups_.emplace_back(kind, system, name);
  }
  // Records of a block without a place, the same for each call with a type.
  Rows& table(uint32_t type) { return tables_.try_emplace(type, type).first->second; }

  // The code of this number and text; made when it is not there.
  size_t useCode(const std::optional<uint16_t>& number, const std::string& text, Kind kind);
  // A code for all things of a layer.
  size_t makeCode(const std::string& wanted, const std::string& name, Kind kind);
  UsedCode& code(size_t place) { return codes_[place]; }
  void nameLayer(uint16_t number, const std::string& name) { layers_.try_emplace(number, name); }

  // As the decimals that are written leave it; one vertex for each place of a system.
  Vertex rounded(size_t system, const Vertex& vertex) const;
  uint32_t addVertex(size_t system, const Vertex& vertex);
  const Vertex& vertex(uint32_t place) const { return vertices_[place].at; }

  // Writes the text to its target and tells what was lost. False, with an error said, when it
  // cannot be written.
  bool write(const char* path);

 private:
  struct Key {
    size_t system;
    double x, y, z;
    bool operator==(const Key& other) const;
  };
  struct Hash {
    size_t operator()(const Key& key) const;
  };
  struct Pooled {
    size_t system;
    Vertex at;
    uint32_t number = 0;
    bool shared = false;  // a point of a layer
  };
  struct Script;
  class Numbers;

  // Several systems are told apart by sets, also those of which nothing else can be said.
  bool separates() const { return systems_.size() > 1; }
  uint16_t setNo(size_t system) const { return static_cast<uint16_t>(system + 1); }
  Key keyOf(size_t system, const Vertex& vertex) const;

  void giveNumbers();
  void shareVertices(Numbers& numbers);
  void nameSets();
  void addSets();
  uint16_t addEllipsoid(const WrittenSystem& system);
  void addProjection(const WrittenSystem& system, uint16_t number);
  void giveCodes();
  void useAttributes();
  void addCodes();
  void addAttributes(const UsedCode& code, std::map<std::string, uint16_t>& lists);
  uint16_t listOf(const std::string& domain, std::map<std::string, uint16_t>& lists);
  void addLayers();
  void addHeader(Script& script);
  void addTable(Script& script, uint32_t type);
  void addRows(Script& script, const Group& group);
  void addVertices(Script& script);
  void addEdges(Script& script, const Group& group);
  void addValues(Script& script, const Group& group);
  void addThings(Script& script, Kind kind);
  bool build(const char* path, Script& script);

  std::string name_;
  std::vector<WrittenSystem> systems_;
  std::deque<Group> groups_;
  std::map<uint32_t, Rows> tables_;
  std::vector<UsedCode> codes_;
  std::map<std::pair<int, std::string>, size_t> codePlaces_;
  std::map<uint16_t, std::string> layers_;
  std::vector<Pooled> vertices_;
  std::unordered_map<Key, uint32_t, Hash> vertexPlaces_;
};

}  // namespace tavo::gdal
