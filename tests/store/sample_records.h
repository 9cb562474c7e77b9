// Records of every storable type for the store's tests, made without the store's own field lists.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "schema/fields.h"
#include "store/record_store.h"

namespace tavo::store {

using Bytes = std::vector<unsigned char>;

// The storable types in the order in which a data file returns them, with their sort codes.
struct TypeOrder {
  RecordType type;
  uint16_t sortCode;
};
inline constexpr TypeOrder kTypesInOrder[] = {
    {1, 1},      {5, 2},      {2, 21},     {6, 22},     {3, 41},     {7, 42},     {4, 61},
    {8, 62},     {9, 2001},   {16, 2002},  {10, 2021},  {17, 2022},  {11, 2041},  {18, 2042},
    {12, 2061},  {19, 2062},  {13, 2081},  {20, 2082},  {14, 2101},  {21, 2102},  {15, 2121},
    {22, 2122},  {64, 3001},  {65, 3101},  {66, 3103},  {67, 3105},  {68, 3107},  {69, 3109},
    {70, 3111},  {71, 3113},  {102, 3115}, {99, 3117},  {98, 3119},  {100, 3121}, {101, 3123},
    {72, 4001},  {73, 4021},  {74, 4041},  {75, 4061},  {76, 4501},  {23, 10001}, {33, 10002},
    {24, 10021}, {34, 10022}, {25, 10041}, {35, 10042}, {26, 10061}, {36, 10062}, {58, 10071},
    {59, 10072}, {27, 10081}, {37, 10082}, {28, 10101}, {38, 10102}, {29, 10121}, {39, 10122},
    {60, 10131}, {62, 10132}, {30, 10141}, {40, 10142}, {31, 10161}, {41, 10162}, {32, 10181},
    {42, 10182}, {61, 10191}, {63, 10192}, {43, 15001}, {44, 15002}, {45, 20001}, {50, 20002},
    {46, 20021}, {51, 20022}, {47, 20041}, {52, 20042}, {48, 20061}, {49, 20061}, {53, 20061},
    {54, 20061}, {55, 50001}, {56, 50002}, {57, 50002}, {90, 50100}, {91, 50101},
};

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
