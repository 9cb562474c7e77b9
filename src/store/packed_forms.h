// Record forms for packed records that stand alone: checks and unpacks them outside of an open
// file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

#include "store/engine/record.h"
#include "store/record_form.h"

namespace tavo::store {

// For the records of one kind of data file. The operations throw std::bad_alloc.
class PackedForms {
 public:
  explicit PackedForms(FileKind kind) : forms_(kind) {
    for (const engine::IndexDef* def = indexesOf(kind); def->index != 0; ++def) {
      keyTypes_[def->index] = def->keyType;
    }
  }

  // Null for a type that is not storable in a file of the kind.
  RecordForm* of(RecordType type) { return forms_.of(type); }

  // Whether this is the packed form of a storable record.
  bool fit(const uint8_t* packed, size_t size) {
    if (size < engine::kRecordHead + 2) return false;
    const RecordForm* const form = of(packed[engine::kRecordType]);
    return form != nullptr &&
           engine::checkPacked(planOf(*form), packed, static_cast<uint32_t>(size)) == engine::kOk;
  }

  // The form of the record's type with the values of a record that fits.
  RecordForm* unpacked(const uint8_t* packed, size_t size) {
    RecordForm* const form = of(packed[engine::kRecordType]);
    engine::unpackRecord(planOf(*form), packed, static_cast<uint32_t>(size));
    return form;
  }

 private:
  const engine::RecordPlan& planOf(const RecordForm& form) {
    const engine::RecordPlan* const plan = plans_.of(form.fields(), keyTypes_);
    if (plan == nullptr) throw std::bad_alloc();
    return *plan;
  }

  RecordForms forms_;
  engine::RecordPlans plans_;
  uint8_t keyTypes_[engine::kIndexNumbers] = {};
};

}  // namespace tavo::store
