// Keys and field lists of the storable record types.
#include "store/record_form.h"

#include <algorithm>
#include <cstring>

#include "schema/fields.h"

namespace tavo::store {

namespace {

using schema::DataType;
using schema::FieldDef;

// What stands around the fields of a packed record: its head, then number and value of the sort
// code, and the end mark; and around each value at most its number and a count.
constexpr size_t kPackedFrame = 5 + 4 + 2;
constexpr size_t kPerField = 4;
constexpr size_t kWorkBuffer = 1024;
static_assert(kPackedFrame + schema::kRecordRoom + schema::kMaxMembers * kPerField <= kWorkBuffer,
              "every packed record must fit the work buffer");

using Member = RecordForm::Member;

constexpr Member member(char letter, size_t offset, size_t length) {
  return {letter, 0, static_cast<uint16_t>(offset), static_cast<uint16_t>(length)};
}

#define MEMBER(letter, Record, name) member(letter, offsetof(Record, name), sizeof(Record::name))

constexpr Member kColumnsMembers[] = {MEMBER('S', ColumnsRecord, comment),
                                      MEMBER('B', ColumnsRecord, fields)};
constexpr Member kOperationMembers[] = {MEMBER('L', OperationRecord, Operation)};
constexpr Member kOperationPointMembers[] = {MEMBER('L', OperationPoint, PointNo),
                                             MEMBER('S', OperationPoint, PointID)};
// Without the entries, whose number varies and which are not part of the record's bytes.
constexpr Member kTimeTaggedMembers[] = {
    MEMBER('S', TimeTaggedRecord, Code), MEMBER('B', TimeTaggedRecord, TimeTag),
    MEMBER('U', TimeTaggedRecord, Number), MEMBER('U', TimeTaggedRecord, EntryCount)};
constexpr Member kDefaultMembers[] = {MEMBER('L', DefaultValue, kind),
                                      MEMBER('S', DefaultValue, text),
                                      MEMBER('D', DefaultValue, real)};
constexpr Member kFreeMembers[] = {MEMBER('L', FreeValue, kind), MEMBER('S', FreeValue, text),
                                   MEMBER('D', FreeValue, real), MEMBER('L', FreeValue, integer)};
#undef MEMBER

// The engine's letter for a value; B, whose trailing zeros are cut, keeps the empty date-times that
// most records have out of the file. 0 for a composite value.
constexpr char letterOf(DataType type, size_t size) {
  switch (type) {
    case DataType::kChar:
    case DataType::kUint8:
      return 'H';
    case DataType::kUint16:
      return 'U';
    case DataType::kInt16:
      return 'I';
    case DataType::kUint32:
    case DataType::kEnum:
      return 'L';
    case DataType::kFloat:
      return 'F';
    case DataType::kDouble:
      return 'D';
    case DataType::kBits:
      return size == 1 ? 'H' : 'U';
    case DataType::kDateTime:
      return 'B';
    case DataType::kText:
      return 'S';
    case DataType::kDefault:
    case DataType::kFree:
      return 0;
  }
  return 0;
}

void append(std::vector<Member>& list, std::span<const Member> members, size_t base) {
  for (Member part : members) {
    part.offset = static_cast<uint16_t>(part.offset + base);
    list.push_back(part);
  }
}

void appendField(std::vector<Member>& list, const FieldDef& field) {
  if (field.offset == schema::kNotKept) return;
  if (field.type == DataType::kDefault) return append(list, kDefaultMembers, field.offset);
  if (field.type == DataType::kFree) return append(list, kFreeMembers, field.offset);
  const size_t size = schema::storedSize(field.type, field.width);
  list.push_back(member(letterOf(field.type, size), field.offset, size));
}

void setKeys(std::vector<Member>& list, const schema::KeyMembers& keys) {
  const auto set = [&list](uint16_t offset, Lookup lookup) {
    const auto found = std::ranges::find(list, offset, &Member::offset);
    if (found != list.end()) found->index = static_cast<uint8_t>(lookup);
  };
  set(keys.listNo, kByListNo);
  set(keys.number, kByNumber);
  set(keys.identifier, kById);
}

// The index's key type as a field list states it.
uint8_t keyRoleOf(uint8_t index, FileKind kind) {
  switch (index) {
    case 0:
      return 'N';
    case kById:
      return 'S';
    default:
      return indexesOf(kind)[index - 1].keyType;
  }
}

constexpr uint8_t kNoForm = 255;
// The values of a time-tagged code are kept as one run of bytes without its trailing zeros.
constexpr size_t kEntriesSize = schema::kMaxCodeValues * sizeof(TimeTaggedEntry);

// What stands in front of the record's members, with offsets from the end of the record.
constexpr Member kCompatibleHead[] = {{'U', kBySortCode, 0, sizeof(uint16_t)}};
constexpr Member kCompleteHead[] = {{'L', kBySortCode, offsetof(Place, run), sizeof(Place::run)},
                                    member('L', offsetof(Place, block), sizeof(Place::block)),
                                    member('X', offsetof(Place, line), sizeof(Place::line)),
                                    member('X', offsetof(Place, given), sizeof(Place::given))};

std::span<const Member> headOf(FileKind kind) {
  if (kind == FileKind::kComplete) return kCompleteHead;
  return kCompatibleHead;
}

}  // namespace

constexpr engine::IndexDef kIndexes[5] = {{kBySortCode, 10, nullptr},
                                          {kByListNo, 10, nullptr},
                                          {kByNumber, 5, nullptr},
                                          {kById, 0, nullptr},
                                          {0, 0, nullptr}};
// With another key type index 1 keeps the exported functions from opening what they cannot read.
constexpr engine::IndexDef kCompleteIndexes[5] = {
    {kBySortCode, 5, nullptr}, kIndexes[1], kIndexes[2], kIndexes[3], kIndexes[4]};

const engine::IndexDef* indexesOf(FileKind kind) {
  return kind == FileKind::kComplete ? kCompleteIndexes : kIndexes;
}

std::vector<Member> RecordForm::membersOf(RecordType type, FileKind kind) {
  std::vector<Member> list;
  const schema::RecordDef& record = schema::recordDef(type);
  if (record.columns) {
    append(list, kColumnsMembers, 0);
  } else if (type == TVO_RECORD_OPERATIONS) {
    append(list, kOperationMembers, 0);
  } else if (type == TVO_RECORD_OPERATION_POINTS) {
    for (size_t base = 0; base < sizeof(OperationPointsRecord); base += sizeof(OperationPoint)) {
      append(list, kOperationPointMembers, base);
    }
  } else if (type == TVO_RECORD_TIME_TAGGED_CODES) {
    append(list, kTimeTaggedMembers, 0);
    if (kind == FileKind::kComplete) list.push_back(member('B', record.size, kEntriesSize));
  } else {
    for (const FieldDef& field : schema::rows(record.fields)) appendField(list, field);
  }
  std::ranges::sort(list, {}, &Member::offset);
  // Columns that name one member share its offset.
  const auto sameMember = [](const Member& a, const Member& b) { return a.offset == b.offset; };
  list.erase(std::unique(list.begin(), list.end(), sameMember), list.end());
  if (!record.columns && record.fields != nullptr) setKeys(list, record.block->layout.keys);
  return list;
}

RecordForm::RecordForm(RecordType type, FileKind kind)
    : size_(schema::recordDef(type).size), head_(size_) {
  const std::vector<Member> members = membersOf(type, kind);
  const bool complete = kind == FileKind::kComplete;
  if (complete && type == TVO_RECORD_TIME_TAGGED_CODES) entriesSize_ = kEntriesSize;
  head_ += entriesSize_;
  // Behind the record: sort code or place, then the counted runs. Their places are fixed before any
  // pointer is taken, so that the buffer is allocated once.
  size_t end = head_ + (complete ? sizeof(Place) : sizeof(uint16_t));
  for (const Member& part : members) {
    if (part.letter != 'B') continue;
    counted_.push_back({part.offset, part.length, end});
    end += sizeof(uint16_t) + part.length;
  }
  values_.resize(end);
  fields_.reserve(members.size() + std::size(kCompleteHead) + 1);
  const auto addField = [&](const Member& part, size_t place) {
    fields_.push_back({part.letter, keyRoleOf(part.index, kind), 'D',
                       static_cast<int16_t>(part.length), part.index, values_.data() + place});
  };
  for (const Member& part : headOf(kind)) addField(part, head_ + part.offset);
  size_t run = 0;
  for (const Member& part : members) {
    addField(part, part.letter == 'B' ? counted_[run++].counted : part.offset);
  }
  fields_.push_back({'E', 'N', 'N', 0, 0, nullptr});
  for (const Member& part : members) {
    if (part.letter == 'S') textEnds_.push_back(size_t{part.offset} + part.length - 1);
  }
}

const engine::Field* RecordForm::keyOf(Lookup lookup) const {
  const auto found =
      std::ranges::find(fields_, static_cast<uint8_t>(lookup), &engine::Field::index);
  return found == fields_.end() ? nullptr : &*found;
}

size_t RecordForm::packedLimit() const {
  size_t bytes = kPackedFrame - 4;
  for (const engine::Field& field : fields_) {
    if (field.type == 'E') break;
    bytes += 2 + static_cast<size_t>(field.length) + (field.type == 'B' ? 2 : 0);
  }
  return bytes;
}

void RecordForm::load(RecordType type, const void* record) {
  memmove(values_.data(), record, size_);
  const uint16_t code = schema::recordDef(type).sortCode;
  memcpy(values_.data() + head_, &code, sizeof(code));
  if (entriesSize_ > 0) loadEntries();
  for (const CountedBytes& run : counted_) {
    const unsigned char* bytes = values_.data() + run.offset;
    size_t used = run.length;
    while (used > 0 && bytes[used - 1] == 0) --used;
    const uint16_t count = static_cast<uint16_t>(used);
    memcpy(values_.data() + run.counted, &count, sizeof(count));
    memcpy(values_.data() + run.counted + sizeof(count), bytes, used);
  }
}

// Entries that the count leaves out, or that are not there, are empty.
void RecordForm::loadEntries() {
  TimeTaggedRecord record;
  memcpy(&record, values_.data(), sizeof(record));
  size_t size = 0;
  if (record.entries != nullptr) {
    size = std::min(record.EntryCount * sizeof(TimeTaggedEntry), entriesSize_);
    memmove(values_.data() + size_, record.entries, size);
  }
  memset(values_.data() + size_ + size, 0, entriesSize_ - size);
}

uint16_t RecordForm::sortCode() const {
  uint16_t code;
  memcpy(&code, values_.data() + head_, sizeof(code));
  return code;
}

void RecordForm::setPlace(const Place& place) {
  memcpy(values_.data() + head_, &place, sizeof(place));
}

Place RecordForm::place() const {
  Place place;
  memcpy(&place, values_.data() + head_, sizeof(place));
  return place;
}

void RecordForm::terminateTexts() {
  for (const size_t last : textEnds_) values_[last] = 0;
}

void RecordForm::clear() {
  memset(values_.data(), 0, head_);
  for (const CountedBytes& run : counted_)
    memset(values_.data() + run.counted, 0, sizeof(uint16_t));
}

void RecordForm::finishRead() {
  for (const CountedBytes& run : counted_) {
    uint16_t count;
    memcpy(&count, values_.data() + run.counted, sizeof(count));
    const size_t used = std::min<size_t>(count, run.length);
    memcpy(values_.data() + run.offset, values_.data() + run.counted + sizeof(count), used);
  }
  if (entriesSize_ == 0) return;
  TimeTaggedRecord record;
  memcpy(&record, values_.data(), sizeof(record));
  const uint16_t count = record.EntryCount;
  record.EntryCount = std::min<uint16_t>(count, schema::kMaxCodeValues);
  record.entries = reinterpret_cast<const TimeTaggedEntry*>(values_.data() + size_);
  memcpy(values_.data(), &record, sizeof(record));
}

RecordForms::RecordForms(FileKind kind) : kind_(kind) {
  formOf_.fill(kNoForm);
  std::array<RecordType, schema::kRecordTypes> owner{};
  for (RecordType type = 1; type <= schema::kLastRecordType; ++type) {
    const schema::RecordDef& record = schema::recordDef(type);
    if (record.type == 0 || (kind == FileKind::kCompatible && record.sortCode == 0)) continue;
    size_t form = 0;
    for (; form < forms_.size(); ++form) {
      const schema::RecordDef& other = schema::recordDef(owner[form]);
      if (record.columns
              ? other.columns
              : !other.columns && record.fields != nullptr && record.fields == other.fields) {
        break;
      }
    }
    if (form == forms_.size()) {
      forms_.emplace_back(type, kind);
      owner[form] = type;
    }
    formOf_[type] = static_cast<uint8_t>(form);
  }
}

RecordForm* RecordForms::of(RecordType type) {
  if (type >= formOf_.size() || formOf_[type] == kNoForm) return nullptr;
  return &forms_[formOf_[type]];
}

RecordForm* RecordForms::readable(RecordType type) {
  const schema::BlockDef* const block = schema::recordDef(type).block;
  const bool lost = kind_ == FileKind::kCompatible && block != nullptr && type == block->data &&
                    !block->odd.readBack;
  return lost ? nullptr : of(type);
}

}  // namespace tavo::store
