// Where the fields of a layer go: members of records, attributes, or names of codes and layers.
#pragma once

#include <vector>

#include <ogr_feature.h>

#include "survey_text.h"

namespace tavo::gdal {

struct FieldTarget {
  enum class Way { kNone, kMember, kAttribute, kCodeName, kLayerName };
  Way way = Way::kNone;
  const tavo_schema_field* member = nullptr;
  uint32_t attribute = 0;
};

// Puts the value of a field into a member, converted to what the record keeps. What does not fit
// is counted and left empty.
void putMember(SurveyText& text, Rows& rows, size_t row, const tavo_schema_field& member,
               const OGRFeature& feature, int field);

// Appends the value of a field, which is neither unset nor null, to the values of a group.
void putAttribute(SurveyText& text, Group& group, size_t row, uint32_t attribute,
                  const OGRFeature& feature, int field);

// Whether the fields are those of our own reading side: its layers have the number or the
// identifier of the kind as a column.
bool hasOwnColumns(const OGRFeatureDefn& definition, Kind kind);

// The member of a block that a field is named after, or null.
const tavo_schema_field* memberNamed(const tavo_schema_block& block, const char* name);

// A target for each field; attributes are added to the group.
std::vector<FieldTarget> targetsOf(const OGRFeatureDefn& definition, Group& group, bool own,
                                   Losses& losses);

// The kind of values that a field will have as an attribute.
TVO_EnumId valueKind(OGRFieldType type);

}  // namespace tavo::gdal
