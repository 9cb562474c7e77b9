// Sort codes, write checks, keys and field lists of the storable record types.
#include "store/record_form.h"

#include <algorithm>
#include <cstring>

namespace tavo::store {

namespace {

using schema::DataType;
using schema::FieldDef;
using schema::kLastRecordType;

// Record types first to last, whose sort codes begin with `code` and go up by `step`. Columns
// records come right before the data records of their block.
struct SortCodes {
  RecordType first, last;
  uint16_t code, step;
};

constexpr SortCodes kSortCodes[] = {
    {1, 4, 1, 20},
    {5, 8, 2, 20},
    {9, 15, 2001, 20},
    {16, 22, 2002, 20},
    {64, 64, 3001, 0},
    {65, 71, 3101, 2},
    {102, 102, 3115, 0},
    {99, 99, 3117, 0},
    {98, 98, 3119, 0},
    {100, 101, 3121, 2},
    {72, 75, 4001, 20},
    {76, 76, 4501, 0},
    {23, 32, 10001, 20},
    {33, 42, 10002, 20},
    {58, 59, 10071, 1},
    {60, 60, 10131, 0},
    {62, 62, 10132, 0},
    {61, 61, 10191, 0},
    {63, 63, 10192, 0},
    {43, 44, 15001, 1},
    {45, 47, 20001, 20},
    {50, 52, 20002, 20},
    // One code, so that setups and the slopes measured from them stay in the order written.
    {48, 49, 20061, 0},
    {53, 54, 20061, 0},
    {55, 55, 50001, 0},
    // One code: an operation and its points follow each other.
    {56, 57, 50002, 0},
    {90, 91, 50100, 1},
};

struct TypeRange {
  RecordType first, last;
};

constexpr TypeRange kNotStorable[] = {{77, 89}, {92, 97}, {103, 107}};

// Columns records that stand in a file once. The projections added later (98 to 102) and the
// time-tagged codes (90) have never been looked up, so they may be stored again; hosts rely on it.
// So may setups and slopes (48, 49), which repeat in every file.
constexpr TypeRange kOncePerFile[] = {{1, 4},   {9, 15},  {23, 32}, {43, 43}, {45, 47},
                                      {55, 55}, {58, 58}, {60, 61}, {64, 76}};

constexpr auto kSortCodeOf = [] {
  std::array<uint16_t, kLastRecordType + 1> table{};
  for (const SortCodes& row : kSortCodes) {
    uint16_t code = row.code;
    for (RecordType type = row.first; type <= row.last; ++type) {
      table[type] = code;
      code = static_cast<uint16_t>(code + row.step);
    }
  }
  return table;
}();

constexpr auto kWriteCheckOf = [] {
  std::array<WriteCheck, kLastRecordType + 1> table{};
  std::fill(table.begin() + 1, table.end(), WriteCheck::kNone);
  for (const TypeRange& range : kNotStorable) {
    for (RecordType type = range.first; type <= range.last; ++type) {
      table[type] = WriteCheck::kNotStorable;
    }
  }
  for (const TypeRange& range : kOncePerFile) {
    for (RecordType type = range.first; type <= range.last; ++type) {
      table[type] = WriteCheck::kOncePerFile;
    }
  }
  table[TVO_RECORD_POINTS] = WriteCheck::kUniquePoint;
  return table;
}();

static_assert(
    [] {
      for (RecordType type = 1; type <= kLastRecordType; ++type) {
        if ((kSortCodeOf[type] == 0) != (kWriteCheckOf[type] == WriteCheck::kNotStorable)) {
          return false;
        }
      }
      return true;
    }(),
    "a sort code for every storable type and for no other");

// The member of a record type that is the key of an index. Types that share a structure share the
// keys of the first of them.
struct KeyMember {
  RecordType type;
  Lookup lookup;
  size_t offset, size;
};

#define KEY(type, lookup, Record, member) \
  KeyMember { type, lookup, offsetof(Record, member), sizeof(Record::member) }

constexpr KeyMember kKeyMembers[] = {
    KEY(TVO_RECORD_SUBJECTS, kByListNo, SubjectRecord, SubjectNo),
    KEY(TVO_RECORD_LAYERS, kByListNo, LayerRecord, LayerNo),
    KEY(TVO_RECORD_CHOICELIST, kByListNo, ChoiceRecord, ListNo),
    KEY(TVO_RECORD_CODES, kByListNo, CodeRecord, CodeNo),
    KEY(TVO_RECORD_JOBS, kByListNo, JobRecord, JobNo),
    KEY(TVO_RECORD_CONFIGS, kByListNo, ConfigRecord, CfgNo),
    KEY(TVO_RECORD_POINTS, kByNumber, PointRecord, PointNo),
    KEY(TVO_RECORD_POINTS, kById, PointRecord, PointID),
    KEY(TVO_RECORD_PNT_ACCURACY, kByNumber, PointAccuracyRecord, PointNo),
    KEY(TVO_RECORD_PNT_ACCURACY, kById, PointAccuracyRecord, PointID),
    KEY(TVO_RECORD_POINT_THEMINFO, kByNumber, ThemInfoRecord, OwnerNo),
    KEY(TVO_RECORD_POINT_THEMINFO, kById, ThemInfoRecord, PointID),
    KEY(TVO_RECORD_LINES, kByNumber, LineRecord, LineNo),
    KEY(TVO_RECORD_LINES, kById, LineRecord, LineID),
    KEY(TVO_RECORD_LINE_EDGES, kByNumber, EdgeRecord, LineNo),
    KEY(TVO_RECORD_POLYGONS, kByNumber, PolygonRecord, PolygonNo),
    KEY(TVO_RECORD_POLYGONS, kById, PolygonRecord, PolygonID),
    KEY(TVO_RECORD_ELEMENTS, kByNumber, ElementsRecord, StnNo),
    KEY(TVO_RECORD_ELEMENTS, kById, ElementsRecord, StnID),
    KEY(TVO_RECORD_SETUP, kByNumber, SetupRecord, STN_NO),
    KEY(TVO_RECORD_SETUP, kById, SetupRecord, STN_ID),
    KEY(TVO_RECORD_SLOPE, kByNumber, SlopeRecord, TgtNo),
    KEY(TVO_RECORD_SLOPE, kById, SlopeRecord, TgtID),
    KEY(TVO_RECORD_POINT_ANNOTATIONS, kByNumber, AnnotationRecord, PointNo),
    KEY(TVO_RECORD_POINT_ANNOTATIONS, kById, AnnotationRecord, PointID),
};
#undef KEY

constexpr size_t kIdSize = sizeof(PointRecord::PointID);

static_assert(std::ranges::all_of(kKeyMembers,
                                  [](const KeyMember& key) {
                                    const size_t wanted = key.lookup == kByListNo   ? 2
                                                          : key.lookup == kByNumber ? 4
                                                                                    : kIdSize;
                                    return key.size == wanted && kSortCodeOf[key.type] != 0;
                                  }),
              "a key must have its index's type");
static_assert(std::ranges::all_of(kKeyMembers,
                                  [](const KeyMember& key) {
                                    return std::ranges::count_if(
                                               kKeyMembers, [&key](const KeyMember& other) {
                                                 return other.type == key.type &&
                                                        other.lookup == key.lookup;
                                               }) == 1;
                                  }),
              "at most one key per index");

// What stands around the fields of a packed record: its head, then number and value of the sort
// code, and the end mark; and around each value at most its number and a count.
constexpr size_t kPackedFrame = 5 + 4 + 2;
constexpr size_t kPerField = 4;
constexpr size_t kWorkBuffer = 1024;
constexpr size_t kMaxMembers = 40;
constexpr size_t kLargestRecord =
    std::max({sizeof(ColumnsRecord),    sizeof(HeaderRecord),       sizeof(UnitsRecord),
              sizeof(OffsetsRecord),    sizeof(ProjectRecord),      sizeof(SubjectRecord),
              sizeof(LayerRecord),      sizeof(SubjectLayerRecord), sizeof(ChoiceRecord),
              sizeof(CodeListRecord),   sizeof(CodeRecord),         sizeof(AttributeRecord),
              sizeof(JobRecord),        sizeof(PointRecord),        sizeof(PointAccuracyRecord),
              sizeof(ThemInfoRecord),   sizeof(LineRecord),         sizeof(EdgeRecord),
              sizeof(PolygonRecord),    sizeof(ElementsRecord),     sizeof(InstrumentRecord),
              sizeof(ConfigRecord),     sizeof(AprioriErrorRecord), sizeof(SetupRecord),
              sizeof(SlopeRecord),      sizeof(OperationRecord),    sizeof(OperationPointsRecord),
              sizeof(AnnotationRecord), sizeof(TimeTaggedRecord)});
static_assert(kPackedFrame + kLargestRecord + kMaxMembers * kPerField <= kWorkBuffer,
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

// The index's key type as a field list states it.
uint8_t keyRoleOf(uint8_t index) {
  switch (index) {
    case 0:
      return 'N';
    case kById:
      return 'S';
    default:
      return kIndexes[index - 1].keyType;
  }
}

constexpr uint8_t kNoForm = 255;

}  // namespace

const engine::IndexDef kIndexes[5] = {{kBySortCode, 10, nullptr},
                                      {kByListNo, 10, nullptr},
                                      {kByNumber, 5, nullptr},
                                      {kById, 0, nullptr},
                                      {0, 0, nullptr}};

WriteCheck writeCheckOf(RecordType type) {
  return type <= kLastRecordType ? kWriteCheckOf[type] : WriteCheck::kUnknownType;
}

uint16_t sortCodeOf(RecordType type) { return type <= kLastRecordType ? kSortCodeOf[type] : 0; }

std::vector<Member> RecordForm::membersOf(RecordType type) {
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
  } else {
    for (const FieldDef& field : schema::rows(record.fields)) appendField(list, field);
  }
  std::ranges::sort(list, {}, &Member::offset);
  // Columns that name one member share its offset.
  const auto sameMember = [](const Member& a, const Member& b) { return a.offset == b.offset; };
  list.erase(std::unique(list.begin(), list.end(), sameMember), list.end());
  for (const KeyMember& key : kKeyMembers) {
    const auto found = std::ranges::find(list, key.offset, &Member::offset);
    if (key.type == type && found != list.end()) found->index = static_cast<uint8_t>(key.lookup);
  }
  return list;
}

RecordForm::RecordForm(RecordType type) : size_(schema::recordDef(type).size) {
  const std::vector<Member> members = membersOf(type);
  // Behind the record: the sort code, then the counted runs. Their places are fixed before any
  // pointer is taken, so that the buffer is allocated once.
  size_t end = size_ + sizeof(uint16_t);
  for (const Member& part : members) {
    if (part.letter != 'B') continue;
    runs_.push_back({part.offset, part.length, end});
    end += sizeof(uint16_t) + part.length;
  }
  values_.resize(end);
  fields_.reserve(members.size() + 2);
  fields_.push_back({'U', keyRoleOf(kBySortCode), 'D', 2, kBySortCode, values_.data() + size_});
  size_t run = 0;
  for (const Member& part : members) {
    const size_t place = part.letter == 'B' ? runs_[run++].counted : part.offset;
    fields_.push_back({part.letter, keyRoleOf(part.index), 'D', static_cast<int16_t>(part.length),
                       part.index, values_.data() + place});
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
  const uint16_t code = sortCodeOf(type);
  memcpy(values_.data() + size_, &code, sizeof(code));
  for (const Run& run : runs_) {
    const unsigned char* bytes = values_.data() + run.offset;
    size_t used = run.length;
    while (used > 0 && bytes[used - 1] == 0) --used;
    const uint16_t count = static_cast<uint16_t>(used);
    memcpy(values_.data() + run.counted, &count, sizeof(count));
    memcpy(values_.data() + run.counted + sizeof(count), bytes, used);
  }
}

void RecordForm::terminateTexts() {
  for (const size_t last : textEnds_) values_[last] = 0;
}

void RecordForm::clear() {
  memset(values_.data(), 0, size_);
  for (const Run& run : runs_) memset(values_.data() + run.counted, 0, sizeof(uint16_t));
}

void RecordForm::finishRead() {
  for (const Run& run : runs_) {
    uint16_t count;
    memcpy(&count, values_.data() + run.counted, sizeof(count));
    const size_t used = std::min<size_t>(count, run.length);
    memcpy(values_.data() + run.offset, values_.data() + run.counted + sizeof(count), used);
  }
}

RecordForms::RecordForms() {
  formOf_.fill(kNoForm);
  std::array<RecordType, kLastRecordType + 1> owner{};
  for (RecordType type = 1; type <= kLastRecordType; ++type) {
    if (sortCodeOf(type) == 0) continue;
    const schema::RecordDef& record = schema::recordDef(type);
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
      forms_.emplace_back(type);
      owner[form] = type;
    }
    formOf_[type] = static_cast<uint8_t>(form);
  }
}

RecordForm* RecordForms::of(RecordType type) {
  if (type > kLastRecordType || formOf_[type] == kNoForm) return nullptr;
  return &forms_[formOf_[type]];
}

RecordForm* RecordForms::readable(RecordType type) {
  // The entries of a time-tagged code are not kept, so its record can't be made again.
  return type == TVO_RECORD_TIME_TAGGED_CODES ? nullptr : of(type);
}

}  // namespace tavo::store
