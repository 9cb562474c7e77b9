// An opened survey with its geometry and what its definitions say: what all layers of a data set
// share. Nothing changes once it is made, so layers may be read in several threads.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tavo/survey.hpp"

namespace tavo::gdal {

// A record as a row of a layer.
struct Row {
  uint32_t type = 0;
  size_t index = 0;  // among those of its type
  const char* bytes = nullptr;
  tavo_given given = 0;
  const tavo_units* units = nullptr;  // in force at its line
};

// Where the fields of a block lie that rows are joined by. offset SIZE_MAX: it has none.
struct Member {
  size_t offset = SIZE_MAX;
  unsigned place = 0;
  bool exists() const { return offset != SIZE_MAX; }
  bool in(const Row& row) const { return exists() && (row.given >> place & 1) != 0; }
};
Member memberOf(const tavo_schema_block& block, TVO_FieldId id);

// The bytes of a record among those of its type.
inline const char* recordAt(const tavo_records& records, size_t index) {
  return static_cast<const char*>(records.bytes) + index * records.size;
}

class Source {
 public:
  // tavo::Error when memory runs out.
  Source(Survey survey, const tavo_geometry_options& options);

  const Survey& survey() const { return survey_; }
  const tavo_geometry* geometry() const { return geometry_.get(); }
  const tavo_records& records(uint32_t type) const {
    return *tavo_survey_records(survey_.handle(), type);
  }
  Row row(uint32_t type, size_t index) const;

  // Fields that a block of the type declares or a record of it gives, by their places.
  tavo_given shown(uint32_t type) const;

  // Name of the code or layer that a row refers to, null where there is none.
  const std::string* codeName(const Row& row, const Member& number, const Member& code) const;
  const std::string* layerName(const Row& row, const Member& number) const;
  bool hasCodes() const { return !codesByNumber_.empty() || !codesByText_.empty(); }
  bool hasLayers() const { return !layers_.empty(); }

 private:
  struct Free {
    void operator()(tavo_geometry* geometry) const { tavo_geometry_free(geometry); }
  };
  struct Stretch {
    size_t first;
    const tavo_units* units;
  };

  Survey survey_;
  std::unique_ptr<tavo_geometry, Free> geometry_;
  std::map<uint32_t, std::vector<Stretch>> units_;  // by record type, in file order
  std::map<uint32_t, tavo_given> declared_;
  std::map<uint16_t, std::string> codesByNumber_, layers_;
  std::map<std::string, std::string, std::less<>> codesByText_;
};

}  // namespace tavo::gdal
