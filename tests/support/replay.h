// Records kept in memory: collects what an analysis delivers and plays it back to a build, with the
// slips and tricks that a host's callback may show.
#pragma once

#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "reader/run.h"
#include "schema/catalogue.h"
#include "tavo/tavo.h"
#include "writers/build.h"

namespace tavo::tests {

constexpr writers::BuildSettings kPlain{false, {4, 4, 10}};

class Replay final : public writers::RecordSource {
 public:
  struct Item {
    RecordType type;
    std::vector<char> bytes;
    std::vector<TimeTaggedEntry> entries;  // of a TimeTaggedRecord, whose pointer leads here
  };

  // Appends a copy of a record, with the entries that a TimeTaggedRecord points to.
  void add(RecordType type, const void* record) {
    Item& item = items_.emplace_back();
    item.type = type;
    const auto* bytes = static_cast<const char*>(record);
    // The columns records of EXTRAINFO are in no table, since no reader delivers them.
    const bool extraInfo = type >= TVO_RECORD_POINT_EXTRAINFO_COLUMNS;
    const size_t size = extraInfo ? sizeof(ColumnsRecord) : schema::recordDef(type).size;
    item.bytes.assign(bytes, bytes + size);
    if (type == TVO_RECORD_TIME_TAGGED_CODES) keepEntries(item);
  }
  template <class Record>
  Replay& add(RecordType type, const Record& record) {
    add(type, static_cast<const void*>(&record));
    return *this;
  }
  Replay& columns(RecordType type, std::initializer_list<FieldId> fields,
                  std::string_view comment = "") {
    ColumnsRecord record = {};
    memcpy(record.comment, comment.data(), comment.size());
    FieldId list[TVO_COLUMNS_ROOM] = {};
    size_t n = 0;
    for (const FieldId field : fields) list[n++] = field;
    list[n] = TVO_FIELD_End;
    memcpy(reinterpret_cast<char*>(&record) + offsetof(ColumnsRecord, fields), list, sizeof list);
    return add(type, record);
  }
  // A record of an analysis; the shape of its sink.
  static uint32_t collect(void* replay, const reader::DeliveredRecord& record) {
    static_cast<Replay*>(replay)->add(record.type, record.bytes);
    return TVO_OK;
  }

  uint16_t fetch(uint32_t mode, uint32_t* recordType, void** record) override {
    ++fetches;
    if (override) {
      if (const uint16_t status = override(mode); status != 0) return status;
    }
    const size_t size = items_.size();
    if (mode == TVO_FIRST) at_ = 0;
    if (mode == TVO_NEXT) at_ = at_ < size ? at_ + 1 : size;
    if (mode == TVO_PREVIOUS) at_ = at_ > 0 ? at_ - 1 : size;
    if (at_ >= size) {
      if (staysOnLast && size > 0) at_ = size - 1;
      return TVO_ERR_STORE;
    }
    *recordType = items_[at_].type;
    *record = items_[at_].bytes.data();
    return TVO_OK;
  }

  const std::deque<Item>& items() const { return items_; }

  // A failed step forward leaves the cursor on the last record, not behind it.
  bool staysOnLast = false;
  // Called first with the mode; a status other than 0 is the answer.
  std::function<uint16_t(uint32_t mode)> override;
  uint64_t fetches = 0;

 private:
  static void keepEntries(Item& item) {
    TimeTaggedRecord record;
    memcpy(&record, item.bytes.data(), sizeof record);
    const char* entries = reinterpret_cast<const char*>(record.entries);
    item.entries.resize(record.EntryCount);
    if (record.EntryCount > 0) {
      memcpy(static_cast<void*>(item.entries.data()), entries,
             record.EntryCount * sizeof(TimeTaggedEntry));
    }
    record.entries = item.entries.data();
    memcpy(item.bytes.data(), &record, sizeof record);
  }

  std::deque<Item> items_;
  size_t at_ = 0;
};

// Keeps the text of a build.
class TextKeeper final : public writers::TextSink {
 public:
  bool write(const char* bytes, size_t size) override {
    if (failAfter <= text.size()) return false;
    text.append(bytes, size);
    return true;
  }
  bool close() override {
    closed = true;
    return closes;
  }

  std::string text;
  size_t failAfter = SIZE_MAX;  // writes fail once this much has been taken
  bool closes = true;
  bool closed = false;
};

}  // namespace tavo::tests
