// The driver: what is a survey, how it is opened, and what GDAL tells users about it.
#include <algorithm>
#include <string_view>

#include <gdal_priv.h>

#include "dataset.h"
#include "ogr_tavo.h"
#include "tavo/survey.h"
#include "writer.h"

namespace {

constexpr int kHead = 1 << 16;

// What bytes may be the beginning of: a survey where the first word that is no comment, alone on
// its line, is the keyword of a section; perhaps one where a later line is that, or where there are
// comments alone.
enum class Guess { kNo, kPerhaps, kSurvey };

bool isSection(std::string_view word) {
  const tavo_schema_block* block = nullptr;
  for (size_t i = 0; (block = tavo_schema_block_at(i)) != nullptr; ++i) {
    if (*block->parent == '\0' && word == block->keyword) return true;
  }
  return false;
}

Guess guess(std::string_view head) {
  static constexpr std::string_view kBlanks = " \t\v\f\r";
  const auto skipBlanks = [](std::string_view line) {
    return line.substr(std::min(line.find_first_not_of(kBlanks), line.size()));
  };
  bool others = false;
  while (!head.empty()) {
    const size_t end = std::min(head.find('\n'), head.size());
    const std::string_view line = skipBlanks(head.substr(0, end));
    head.remove_prefix(std::min(end + 1, head.size()));
    if (line.empty() || line.front() == ';') continue;
    const std::string_view word = line.substr(0, line.find_first_of(" \t\v\f\r("));
    const std::string_view rest = skipBlanks(line.substr(word.size()));
    if ((rest.empty() || rest.front() == ';' || rest.front() == '(') && isSection(word)) {
      return others ? Guess::kPerhaps : Guess::kSurvey;
    }
    others = true;
  }
  return others ? Guess::kNo : Guess::kPerhaps;
}

// By content; the suffix decides only where that leaves it open.
int identify(GDALOpenInfo* info) {
  if (info->fpL == nullptr) return FALSE;
  const auto guessed = [info] {
    return guess(
        {reinterpret_cast<const char*>(info->pabyHeader), static_cast<size_t>(info->nHeaderBytes)});
  };
  if (guessed() == Guess::kSurvey) return TRUE;
  const bool named = EQUAL(CPLGetExtension(info->pszFilename), "tvo");
  if (!named && guessed() == Guess::kNo) return FALSE;
  return info->TryToIngest(kHead) != 0 &&
         (guessed() == Guess::kSurvey || (named && guessed() == Guess::kPerhaps));
}

GDALDataset* open(GDALOpenInfo* info) {
  if (identify(info) == FALSE) return nullptr;
  if (info->eAccess == GA_Update) {
    constexpr char kReason[] =
        "A survey is not changed in place: write it anew, without -update, -append or -overwrite";
    // QGIS tries this first for every layer, and its user did not ask for it: who does not want
    // errors shown finds the reason as the last one.
    if ((info->nOpenFlags & GDAL_OF_VERBOSE_ERROR) != 0) {
      CPLError(CE_Failure, CPLE_NotSupported, "%s", kReason);
    } else {
      CPLErrorSetState(CE_Failure, CPLE_NotSupported, kReason);
    }
    return nullptr;
  }
  VSIRewindL(info->fpL);
  auto dataset = tavo::gdal::Dataset::open(info->fpL, info->pszFilename, info->papszOpenOptions);
  if (dataset != nullptr) dataset->SetDescription(info->pszFilename);
  return dataset.release();
}

constexpr char kOpenOptions[] =
    "<OpenOptionList>"
    "<Option name='CRS' type='string' description='Reference system, as EPSG:n or WKT, in place of "
    "the survey&apos;s own'/>"
    "<Option name='HOTINE_ORIGIN' type='string-select' description='From where false coordinates "
    "of oblique Mercator projections count; default: OBLIQUE_MERCATOR from the centre, RSO from "
    "the natural origin'><Value>CENTRE</Value><Value>NATURAL</Value></Option>"
    "<Option name='IGNORE_TRANSFORMATIONS' type='boolean' default='NO' description='Take the map "
    "projection of a set that names a transformation, too'/>"
    "<Option name='ALL_COLUMNS' type='boolean' default='NO' description='List also the columns "
    "that no line of the survey gives'/>"
    "<Option name='STRICT' type='boolean' default='NO' description='Refuse a survey with errors or "
    "warnings'/>"
    "</OpenOptionList>";

}  // namespace

void RegisterOGRTAVO() {
  if (!GDAL_CHECK_VERSION("TAVO") || GDALGetDriverByName("TAVO") != nullptr) return;
  auto* const driver = new GDALDriver();
  driver->SetDescription("TAVO");
  constexpr struct {
    const char* key;
    const char* value;
  } kItems[] = {{GDAL_DMD_LONGNAME, "TAVO survey"},
                {GDAL_DMD_EXTENSIONS, "tvo"},
                {GDAL_DMD_EXTENSION, "tvo"},
                {GDAL_DCAP_VECTOR, "YES"},
                {GDAL_DCAP_OPEN, "YES"},
                {GDAL_DCAP_VIRTUALIO, "YES"},
                {GDAL_DCAP_Z_GEOMETRIES, "YES"},
                {GDAL_DCAP_FIELD_DOMAINS, "YES"},
                {GDAL_DCAP_FEATURE_STYLES, "YES"},
                {GDAL_DMD_SUPPORTED_SQL_DIALECTS, "OGRSQL SQLITE"},
                {GDAL_DMD_OPENOPTIONLIST, kOpenOptions}};
  for (const auto& item : kItems) driver->SetMetadataItem(item.key, item.value);
  driver->pfnIdentify = identify;
  driver->pfnOpen = open;
  tavo::gdal::describeWriting(*driver);
  GetGDALDriverManager()->RegisterDriver(driver);
}
