// Repairing: the engine finds packed records, here they are told apart and stored anew.
#include "store/repair.h"

#include <cstring>
#include <new>
#include <numeric>

#include "schema/catalogue.h"
#include "store/engine/salvage.h"
#include "store/engine/verify.h"
#include "store/packed_forms.h"

namespace tavo::store {

namespace {

// Both kinds of packed record look alike; their field lists tell them apart.
class Repair {
 public:
  Repair(platform::FileSystem& files, const FindingReport& findings, RepairReport* report)
      : file_(cache_, files), findings_(findings), report_(*report), files_(files) {}

  int run(const char* from, const char* to) {
    if (const int code = findKind(from); code != engine::kOk) return code;
    report_.read = true;
    engine::Options options;
    options.workBufferSize = kCompleteRecordLimit;
    int code = file_.create(to, indexesOf(report_.kind), options);
    if (code != engine::kOk) return code;
    file_.setWriteMode(0);
    code = salvage(from);
    const int closed = file_.close();
    return code != engine::kOk ? code : closed;
  }

 private:
  // The kind of which there are more records: what a damaged header says does not count.
  int findKind(const char* from) {
    uint32_t compatible = 0;
    uint32_t complete = 0;
    engine::SalvageHooks hooks;
    hooks.sound = [&](const uint8_t* packed, size_t size, uint32_t*) {
      return isSound(FileKind::kCompatible, packed, size) ||
             isSound(FileKind::kComplete, packed, size);
    };
    hooks.record = [&](int32_t, const uint8_t* packed, size_t size) {
      ++(isSound(FileKind::kComplete, packed, size) ? complete : compatible);
      return int{engine::kOk};
    };
    engine::SalvageReport report;
    if (const int code = engine::salvage(from, hooks, report, files_); code != engine::kOk)
      return code;
    if (compatible + complete == 0) return engine::kBadSignature;
    report_.kind = complete > compatible ? FileKind::kComplete : FileKind::kCompatible;
    return engine::kOk;
  }

  int salvage(const char* from) {
    const FileKind kind = report_.kind;
    engine::SalvageHooks hooks;
    hooks.sound = [&](const uint8_t* packed, size_t size, uint32_t* order) {
      if (!isSound(kind, packed, size)) return false;
      *order = kind == FileKind::kComplete ? formsOf(kind).unpacked(packed, size)->place().run : 0;
      return true;
    };
    hooks.record = [&](int32_t, const uint8_t* packed, size_t size) {
      const uint8_t type = packed[engine::kRecordType];
      ++report_.found[type];
      return file_.insert(formsOf(kind).unpacked(packed, size)->fields(), type);
    };
    hooks.twice = [this](int32_t number, uint8_t type) {
      ++report_.twice[type];
      tell(number, type, "was found twice", true);
    };
    hooks.lost = [this](int32_t number, const uint8_t* piece, size_t size, const uint8_t* key,
                        size_t keySize) {
      const RecordType type = typeOf(piece, size, key, keySize);
      ++report_.damaged[type];
      tell(number, type, "is damaged", false);
    };
    engine::SalvageReport report;
    const int code = engine::salvage(from, hooks, report, files_);
    const uint32_t known = report.records + report.lost;
    if (!report.whole && report.recordCount > known) report_.untraced = report.recordCount - known;
    return code;
  }

  void tell(int32_t number, RecordType type, const char* what, bool note) {
    if (!findings_) return;
    DataFileFinding finding = findingOf({-1, number, static_cast<uint8_t>(type), 0, what});
    finding.note = note;
    findings_(finding);
  }

  PackedForms& formsOf(FileKind kind) {
    return kind == FileKind::kComplete ? complete_ : compatible_;
  }

  bool isSound(FileKind kind, const uint8_t* packed, size_t size) {
    if (!formsOf(kind).fit(packed, size)) return false;
    return kind == FileKind::kComplete ||
           formsOf(kind).unpacked(packed, size)->sortCode() ==
               schema::recordDef(packed[engine::kRecordType]).sortCode;
  }

  // What the remains of a record tell of its type: its type byte, else its sort code where that
  // belongs to one type.
  RecordType typeOf(const uint8_t* piece, size_t size, const uint8_t* key, size_t keySize) {
    if (size > engine::kRecordType) {
      const RecordType type = piece[engine::kRecordType];
      return schema::recordDef(type).type == 0 ? RecordType{0} : type;
    }
    if (report_.kind == FileKind::kComplete || keySize != sizeof(uint16_t)) return 0;
    RecordType only = 0;
    for (RecordType type = 1; type <= schema::kLastRecordType; ++type) {
      if (schema::recordDef(type).sortCode != engine::loadU16(key)) continue;
      if (only != 0) return 0;
      only = type;
    }
    return only;
  }

  engine::PageCache cache_;
  engine::Store file_;
  PackedForms compatible_{FileKind::kCompatible};
  PackedForms complete_{FileKind::kComplete};
  const FindingReport& findings_;
  RepairReport& report_;
  platform::FileSystem& files_;
};

}  // namespace

uint32_t RepairReport::total(const Counts& counts) const {
  return std::accumulate(counts.begin(), counts.end(), 0u);
}

int repairDataFile(const char* from, const char* to, const FindingReport& report,
                   RepairReport* counts, platform::FileSystem& files) try {
  *counts = {};
  return Repair(files, report, counts).run(from, to);
} catch (const std::bad_alloc&) {
  return engine::kNoMemory;
}

}  // namespace tavo::store
