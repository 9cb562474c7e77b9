// Recognition and check of data files, on top of the engine's walk through all pages.
#include "store/data_file.h"

#include "store/engine/format.h"
#include "store/engine/verify.h"
#include "store/record_form.h"

namespace tavo::store {

namespace {

// Head of a packed record, then field number and value of its first field.
constexpr size_t kPackedHead = 5;
constexpr size_t kSortCodeEnd = kPackedHead + 4;

// Collects the findings of one check.
class Check {
 public:
  Check(const FindingReport& report, DataFileStatistics& statistics)
      : report_(report), statistics_(statistics) {}

  void page(int32_t number, const std::string& what) {
    finding(number < 0 ? what : "page " + std::to_string(number) + ": " + what);
  }

  void record(int32_t number, uint8_t type, const uint8_t* packed, size_t size) {
    ++statistics_.recordsByType[type];
    const uint16_t wanted = schema::recordDef(type).sortCode;
    const std::string name = "record " + std::to_string(number) + ": ";
    if (wanted == 0) {
      return finding(name + "type " + std::to_string(type) + " is not a storable record type");
    }
    const bool present = size >= kSortCodeEnd && engine::loadU16(packed + kPackedHead) == 0;
    const unsigned found = present ? engine::loadU16(packed + kPackedHead + 2) : 0u;
    if (found != wanted) {
      finding(name + "type " + std::to_string(type) + " has sort code " + std::to_string(found) +
              " instead of " + std::to_string(wanted));
    }
  }

 private:
  void finding(const std::string& text) {
    ++statistics_.findings;
    if (report_) report_(text);
  }

  const FindingReport& report_;
  DataFileStatistics& statistics_;
};

}  // namespace

bool hasDataFileSignature(const void* bytes, size_t size) {
  engine::FileHeader header;
  return size >= engine::kHeaderSize &&
         engine::decodeHeader(static_cast<const uint8_t*>(bytes), header);
}

bool isDataFile(const char* path, platform::FileSystem& files) {
  const auto file = files.open(path, platform::Access::kRead, platform::Sharing::kReadWrite);
  uint8_t bytes[engine::kHeaderSize];
  return file != nullptr && file->readAt(0, bytes, sizeof(bytes)) == platform::Transfer::kDone &&
         hasDataFileSignature(bytes, sizeof(bytes));
}

int verifyDataFile(const char* path, const FindingReport& report, DataFileStatistics* statistics,
                   platform::FileSystem& files) {
  *statistics = {};
  RecordForms forms;
  Check check(report, *statistics);
  engine::VerifyHooks hooks;
  hooks.finding = [&check](int32_t page, const std::string& what) { check.page(page, what); };
  hooks.record = [&check](int32_t number, uint8_t type, const uint8_t* packed, size_t size) {
    check.record(number, type, packed, size);
  };
  hooks.fields = [&forms](uint8_t type) -> const engine::Field* {
    const RecordForm* form = forms.of(type);
    return form == nullptr ? nullptr : form->fields();
  };
  engine::VerifyReport walk;
  const int result = engine::verify(path, walk, hooks, kIndexes, files);
  statistics->fileSize = walk.fileSize;
  statistics->roomAhead = walk.roomAhead;
  statistics->height = walk.height;
  statistics->pagesInUse = walk.pagesInUse;
  statistics->pagesInFile = walk.pagesInFile;
  statistics->leafPages = walk.leafPages;
  statistics->innerPages = walk.innerPages;
  statistics->fillFactor = walk.fillFactor();
  statistics->records = walk.records;
  statistics->recordsCounted = walk.recordCount;
  statistics->keysCompared = walk.keysCompared;
  statistics->freeNumbers = walk.freeNumbers;
  return result;
}

}  // namespace tavo::store
