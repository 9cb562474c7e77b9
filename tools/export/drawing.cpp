// Entities of a drawing.
#include "drawing.h"

#include <algorithm>
#include <cstdio>

#include <cpl_string.h>

namespace tavo::tool {

namespace {

std::string valueOf(const OGRFeature& feature, const char* field) {
  const int index = feature.GetFieldIndex(field);
  return index >= 0 && feature.IsFieldSetAndNotNull(index) != 0 ? feature.GetFieldAsString(index)
                                                                : "";
}

template <size_t N>
std::string firstOf(const OGRFeature& feature, const char* const (&fields)[N]) {
  for (const char* const field : fields) {
    if (std::string value = valueOf(feature, field); !value.empty()) return value;
  }
  return {};
}

// The layer that the survey names, else its code; what has neither lies with its kind.
std::string cadLayerOf(const OGRFeature& feature, const std::string& kind) {
  static constexpr const char* kFields[] = {"LayerName", "Code", "CodeName", "LayerNo"};
  std::string layer = firstOf(feature, kFields);
  if (layer.empty()) layer = kind;
  // Characters that names in a drawing must not have.
  std::ranges::replace_if(
      layer,
      [](char c) {
        return std::string_view("<>/\\\":;?*|,=`'").find(c) != std::string_view::npos ||
               static_cast<unsigned char>(c) < ' ';
      },
      '_');
  return layer;
}

std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) result.append(c == '"' || c == '\\' ? "\\" : "").append(1, c);
  return result;
}

}  // namespace

std::string labelOf(const OGRFeature& feature) {
  static constexpr const char* kFields[] = {"PointID", "LineID",    "PolygonID",  "STN_ID",
                                            "TgtID",   "Text",      "Annotation", "PointNo",
                                            "LineNo",  "PolygonNo", "STN_NO",     "TgtNo"};
  return firstOf(feature, kFields);
}

bool Drawing::addShape(const OGRGeometry& geometry, const std::string& layer,
                       const std::string& style) {
  OGRFeature entity(layer_.GetLayerDefn());
  entity.SetField("Layer", layer.c_str());
  entity.SetGeometry(&geometry);
  if (!style.empty()) entity.SetStyleString(style.c_str());
  return layer_.CreateFeature(&entity) == OGRERR_NONE;
}

bool Drawing::add(const OGRFeature& feature, const std::string& kind) {
  const OGRGeometry* const geometry = feature.GetGeometryRef();
  const std::string layer = cadLayerOf(feature, kind);
  const char* const given = feature.GetStyleString();
  const std::string style = given == nullptr ? "" : given;
  switch (wkbFlatten(geometry->getGeometryType())) {
    case wkbPoint: {
      const OGRPoint& point = *geometry->toPoint();
      char size[64];
      std::snprintf(size, sizeof size, ",s:%.9gg", size_);
      const auto label = [&](const std::string& text, const char* anchor) {
        return "LABEL(f:\"Arial\",t:\"" + escaped(text) + "\",p:" + anchor + size + ")";
      };
      const std::string text = labelOf(feature);
      OGRPoint beside(point);
      beside.setX(point.getX() + size_ / 2);
      // Annotations and boxes are their text, below those of the point; sizes on paper say nothing
      // in a drawing.
      if (kind != "points" && kind != "setups") {
        beside.setY(point.getY() - 1.5 * size_);
        return text.empty() || addShape(beside, layer, label(text, "7"));
      }
      bool good = addShape(point, layer, "");
      if (!text.empty()) good = good && addShape(beside, layer + "_NUMBER", label(text, "1"));
      if (point.Is3D() != 0) {
        char height[32];
        std::snprintf(height, sizeof height, "%.2f", point.getZ());
        good = good && addShape(beside, layer + "_HEIGHT", label(height, "7"));
      }
      return good;
    }
    case wkbPolygon: {
      // The outlines: a hatch over everything would hide what lies in it.
      const size_t pen = style.find("PEN(");
      const std::string line = pen == style.npos ? "" : style.substr(pen);
      bool good = true;
      for (const OGRLinearRing* const ring : *geometry->toPolygon()) {
        OGRLineString outline(*ring);
        good = good && addShape(outline, layer, line);
      }
      return good;
    }
    case wkbMultiPolygon:
    case wkbMultiLineString:
    case wkbGeometryCollection: {
      bool good = true;
      for (const OGRGeometry* const part : *geometry->toGeometryCollection()) {
        const OGRFeatureUniquePtr one(feature.Clone());
        one->SetGeometry(part);
        good = good && add(*one, kind);
      }
      return good;
    }
    default:
      return addShape(*geometry, layer, style);
  }
}

}  // namespace tavo::tool
