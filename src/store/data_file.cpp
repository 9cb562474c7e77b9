// Recognition and check of data files, on top of the engine's walk through all pages.
#include "store/data_file.h"

#include "schema/catalogue.h"
#include "schema/keywords.h"
#include "store/engine/format.h"
#include "store/engine/verify.h"
#include "store/packed_forms.h"

namespace tavo::store {

namespace {

// The type of a record and the block that it stands in.
std::string nameOf(const DataFileFinding& finding) {
  if (finding.type == 0) return {};
  std::string name = "(type " + std::to_string(finding.type);
  if (const schema::BlockDef* block = schema::recordDef(finding.type).block; block != nullptr) {
    name += ", " + std::string(schema::keywordName(block->keyword));
  }
  if (finding.block != 0) name += ", block " + std::to_string(finding.block);
  return name + ")";
}

// Collects the findings of one check.
class Check {
 public:
  Check(FileKind kind, const FindingReport& report, DataFileStatistics& statistics)
      : forms_(kind), report_(report), statistics_(statistics) {
    statistics.kind = kind;
  }

  int run(const char* path, engine::VerifyReport& walk, platform::FileSystem& files) {
    engine::VerifyHooks hooks;
    hooks.finding = [this](const engine::VerifyFinding& found) { finding(found); };
    hooks.record = [this](int32_t number, uint8_t type, const uint8_t* packed, size_t size) {
      record(number, type, packed, size);
    };
    hooks.fields = [this](uint8_t type) -> const engine::Field* {
      const RecordForm* form = forms_.of(type);
      return form == nullptr ? nullptr : form->fields();
    };
    if (statistics_.kind == FileKind::kComplete) {
      hooks.label = [this](uint8_t, const uint8_t* packed, size_t size) {
        return forms_.unpacked(packed, size)->place().block;
      };
    }
    return engine::verify(path, walk, hooks, indexesOf(statistics_.kind), files);
  }

 private:
  void finding(const engine::VerifyFinding& found) {
    ++statistics_.findings;
    if (report_) report_(findingOf(found));
  }

  void record(int32_t number, uint8_t type, const uint8_t* packed, size_t size) {
    ++statistics_.recordsByType[type];
    if (forms_.of(type) == nullptr) {
      return finding(
          {-1, number, type, 0, "type " + std::to_string(type) + " is not a storable record type"});
    }
    if (statistics_.kind == FileKind::kComplete) return;
    const uint16_t wanted = schema::recordDef(type).sortCode;
    const unsigned found = forms_.unpacked(packed, size)->sortCode();
    if (found != wanted) {
      finding({-1, number, type, 0,
               "has sort code " + std::to_string(found) + " instead of " + std::to_string(wanted)});
    }
  }

  PackedForms forms_;
  const FindingReport& report_;
  DataFileStatistics& statistics_;
};

}  // namespace

DataFileFinding findingOf(const engine::VerifyFinding& found) {
  DataFileFinding finding = {found.page, found.record, found.type, found.label, {}, false};
  if (found.page >= 0) finding.text = "page " + std::to_string(found.page);
  if (found.record != 0) {
    finding.text += finding.text.empty() ? "record " : ", record ";
    finding.text += std::to_string(found.record);
    if (const std::string name = nameOf(finding); !name.empty()) finding.text += " " + name;
  }
  finding.text += (finding.text.empty() ? "" : ": ") + found.what;
  return finding;
}

bool hasDataFileSignature(const void* bytes, size_t size) {
  engine::FileHeader header;
  return size >= engine::kHeaderSize &&
         engine::decodeHeader(static_cast<const uint8_t*>(bytes), header);
}

std::optional<FileKind> dataFileKind(const char* path, platform::FileSystem& files) {
  const auto file = files.open(path, platform::Access::kRead, platform::Sharing::kReadWrite);
  uint8_t bytes[engine::kHeaderSize];
  engine::FileHeader header;
  if (file == nullptr || file->readAt(0, bytes, sizeof(bytes)) != platform::Transfer::kDone ||
      !engine::decodeHeader(bytes, header)) {
    return {};
  }
  const bool complete = header.keyType[kBySortCode] == kCompleteIndexes[0].keyType;
  return complete ? FileKind::kComplete : FileKind::kCompatible;
}

bool isDataFile(const char* path, platform::FileSystem& files) {
  return dataFileKind(path, files).has_value();
}

int verifyDataFile(const char* path, const FindingReport& report, DataFileStatistics* statistics,
                   platform::FileSystem& files) {
  *statistics = {};
  // A file that cannot be read says so again below.
  const FileKind kind = dataFileKind(path, files).value_or(FileKind::kCompatible);
  engine::VerifyReport walk;
  const int result = Check(kind, report, *statistics).run(path, walk, files);
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
