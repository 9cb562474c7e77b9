// Repairing: the engine finds packed records, here they are told apart and stored anew.
#include "store/repair.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <numeric>
#include <vector>

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
    hooks.record = [&](int32_t number, const uint8_t* packed, size_t size) {
      const uint8_t type = packed[engine::kRecordType];
      ++report_.found[type];
      if (kind == FileKind::kComplete) {
        note(formsOf(kind).unpacked(packed, size)->place().run, number, type);
      }
      return file_.insert(formsOf(kind).unpacked(packed, size)->fields(), type);
    };
    hooks.twice = [this](int32_t number, uint8_t type) {
      ++report_.twice[type];
      tell(number, type, "was found twice", true);
    };
    hooks.lost = [this](int32_t number, const uint8_t* piece, size_t size, const uint8_t* key,
                        size_t keySize) {
      const RecordType type = typeOf(number, piece, size, key, keySize);
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

  // Runs are found one after the other. OPERATIONS are of two types in turn, so theirs say nothing.
  void note(uint32_t run, int32_t number, RecordType type) {
    const bool pairs = type == TVO_RECORD_OPERATIONS || type == TVO_RECORD_OPERATION_POINTS;
    if (runs_.empty() || runs_.back().run != run) runs_.push_back({run, number, number, type});
    runs_.back().last = number;
    runs_.back().type = pairs ? RecordType{0} : type;
  }

  // The type of a run's records but the first, which may be a columns record. Without its key a
  // record belongs to the run between whose numbers its own is: numbers ascend with the runs where
  // nothing was deleted.
  RecordType typeInRun(int32_t number, const uint8_t* key, size_t keySize) const {
    const bool known = keySize == sizeof(uint32_t);
    const auto behind = known ? std::ranges::upper_bound(runs_, engine::loadU32(key), {}, &Run::run)
                              : std::ranges::upper_bound(runs_, number, {}, &Run::first);
    if (behind == runs_.begin()) return 0;
    const Run& run = *std::prev(behind);
    const bool inside = known ? run.run == engine::loadU32(key) : number < run.last;
    return inside && number > run.first ? run.type : RecordType{0};
  }

  // What the remains of a record tell of its type: its type byte, else its sort code where that
  // belongs to one type, or its run.
  RecordType typeOf(int32_t number, const uint8_t* piece, size_t size, const uint8_t* key,
                    size_t keySize) const {
    if (size > engine::kRecordType) {
      const RecordType type = piece[engine::kRecordType];
      return schema::recordDef(type).type == 0 ? RecordType{0} : type;
    }
    if (report_.kind == FileKind::kComplete) return typeInRun(number, key, keySize);
    if (keySize != sizeof(uint16_t)) return 0;
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
  // The sound records of a run, of a complete file.
  struct Run {
    uint32_t run;
    int32_t first, last;  // numbers
    RecordType type;
  };
  std::vector<Run> runs_;
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
