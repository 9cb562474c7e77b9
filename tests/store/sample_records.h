// Records of every storable type for the store's tests, made without the store's own field lists.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "schema/catalogue.h"
#include "schema/fields.h"
#include "store/record_store.h"

namespace tavo::store {

using Bytes = std::vector<unsigned char>;

// The storable types in the order in which a data file returns them.
inline std::vector<RecordType> typesInOrder() {
  std::vector<RecordType> types;
  for (RecordType type = 1; type <= schema::kLastRecordType; ++type) {
    if (schema::recordDef(type).sortCode != 0) types.push_back(type);
  }
  std::ranges::stable_sort(types, {}, [](RecordType t) { return schema::recordDef(t).sortCode; });
  return types;
}

inline size_t sizeOf(RecordType type) { return schema::recordDef(type).size; }

inline void putText(Bytes& record, size_t offset, size_t width, const std::string& text) {
  memset(record.data() + offset, 0, width);
  memcpy(record.data() + offset, text.data(), std::min(text.size(), width - 1));
}

// Every byte of it differs from zero, but for what follows the end of a text.
inline Bytes sampleRecord(RecordType type, uint32_t seed) {
  const schema::RecordDef& def = schema::recordDef(type);
  Bytes record(def.size);
  uint32_t state = seed * 2654435761u + type;
  for (unsigned char& byte : record) {
    state = state * 1664525u + 1013904223u;
    byte = static_cast<unsigned char>(state >> 24 | 1u);
  }
  const std::string text = "text " + std::to_string(seed % 1000);
  if (def.columns) {
    putText(record, 0, TVO_COMMENT_SIZE, text);
  } else if (type == TVO_RECORD_OPERATION_POINTS) {
    for (size_t at = 0; at < def.size; at += sizeof(OperationPoint)) {
      putText(record, at + 4, sizeof(OperationPoint::PointID), text);
    }
  } else if (def.fields != nullptr) {
    for (const schema::FieldDef& field : schema::rows(def.fields)) {
      if (field.type == schema::DataType::kText) {
        putText(record, field.offset, field.width, text);
      } else if (field.type == schema::DataType::kDefault) {
        putText(record, field.offset + 4u, sizeof(DefaultValue::text), text);
      } else if (field.type == schema::DataType::kFree) {
        putText(record, field.offset + 4u, sizeof(FreeValue::text), text);
      }
    }
  }
  return record;
}

template <typename Record>
Bytes bytesOf(const Record& record) {
  Bytes bytes(sizeof(record));
  memcpy(bytes.data(), &record, sizeof(record));
  return bytes;
}

inline PointRecord point(uint32_t number, const char* id) {
  PointRecord record{};
  record.PointNo = number;
  memcpy(record.PointID, id, std::min(strlen(id), sizeof(record.PointID) - 1));
  return record;
}

// A record as the store delivers it; type 0 where there was none.
struct Delivered {
  RecordType type = 0;
  Bytes bytes;
  uint32_t status = 0;
};

inline Delivered readRecord(RecordStore& store, uint32_t move) {
  Delivered result;
  void* record = nullptr;
  result.status = store.read(move, &result.type, &record);
  if (result.status == 0) {
    result.bytes.resize(sizeOf(result.type));
    memcpy(result.bytes.data(), record, result.bytes.size());
  }
  return result;
}

// The types of all records in order, by the moves given.
inline std::vector<RecordType> typesAlong(RecordStore& store, uint32_t first, uint32_t next) {
  std::vector<RecordType> types;
  for (Delivered at = readRecord(store, first); at.status == 0 && types.size() < 100000;
       at = readRecord(store, next)) {
    types.push_back(at.type);
  }
  return types;
}

}  // namespace tavo::store
