// Compares the records of a text with those of a text that was written from them.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "memory_records.h"
#include "schema/types.h"

namespace tavo::tool {

// Takes the records of the written text one by one.
class RecordComparison {
 public:
  explicit RecordComparison(const MemoryRecords& originals) : originals_(originals) {}

  void take(RecordType type, const void* record);
  // Told after the last record.
  void finish();

  // The first difference other than a rounded value, or an empty text.
  const std::string& difference() const { return difference_; }
  // "POINTS East" and how many of its values came out rounded.
  const std::map<std::string, uint64_t>& rounded() const { return rounded_; }

 private:
  const char* nextOriginal(RecordType* type);
  void compareFields(RecordType type, const char* original, const char* written);
  void compareTimeTagged(const char* original, const char* written);
  // Whether a value is the same or, which is noted, a rounded one.
  bool equalField(RecordType type, const schema::FieldDef& field, const char* a, const char* b);
  template <class Real>
  bool equalReal(const std::string& name, Real a, Real b);
  void differ(const std::string& what);

  const MemoryRecords& originals_;
  size_t next_ = 0;
  bool operationColumns_ = false;
  std::map<std::string, uint64_t> rounded_;
  std::string difference_;
};

}  // namespace tavo::tool
