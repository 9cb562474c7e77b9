// Writes well-known text, and the numbers and names in it.
#include "survey/wkt.h"

#include <charconv>
#include <cmath>

namespace tavo::survey {
namespace {

// Bytes of the UTF-8 character that the text begins with, 0 when it begins with none.
size_t utf8Length(std::string_view text) {
  const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
  const uint8_t lead = byte(0);
  const size_t size = lead < 0x80   ? 1
                      : lead < 0xC2 ? 0
                      : lead < 0xE0 ? 2
                      : lead < 0xF0 ? 3
                      : lead < 0xF5 ? 4
                                    : 0;
  if (size > text.size()) return 0;
  for (size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  const bool sound =
      size < 3 || !((lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xED && byte(1) >= 0xA0) ||
                    (lead == 0xF0 && byte(1) < 0x90) || (lead == 0xF4 && byte(1) >= 0x90));
  return sound ? size : 0;
}

std::string quoted(std::string_view name) {
  std::string out = "\"";
  for (const char c : name) {
    if (c == '"') out += '"';
    out += c;
  }
  return out += '"';
}

const char kDegreeUnit[] = R"(ANGLEUNIT["degree",0.0174532925199433])";
const char kMetreUnit[] = R"(LENGTHUNIT["metre",1])";
const char kGridAxes[] =
    R"w(CS[Cartesian,2],AXIS["easting (E)",east,ORDER[1]],AXIS["northing (N)",north,ORDER[2]],)w"
    R"(LENGTHUNIT["metre",1])";

std::string datumWkt(const NamedEllipsoid& ellipsoid) {
  return R"(DATUM["unknown",ELLIPSOID[)" + quoted(ellipsoid.name) + "," +
         number(ellipsoid.shape.a) + "," + number(ellipsoid.inverse) + "," + kMetreUnit +
         R"(]],PRIMEM["Greenwich",0,)" + kDegreeUnit + "]";
}

std::string parameterWkt(const ParameterName& name, const Projection& projection) {
  const double value = projection.*name.member;
  const bool angle = name.quantity == Quantity::kAngle;
  const char* const unit = angle                                ? kDegreeUnit
                           : name.quantity == Quantity::kLength ? kMetreUnit
                                                                : R"(SCALEUNIT["unity",1])";
  return std::string(",PARAMETER[\"") + name.name + "\"," +
         (angle ? degrees(value) : number(value)) + "," + unit + R"(,ID["EPSG",)" +
         std::to_string(name.code) + "]]";
}

}  // namespace

std::string number(double value) {
  // Plain digits wherever a person would write them.
  const double size = std::fabs(value);
  const bool plain = value == 0 || (size >= 1e-5 && size < 1e15);
  char text[40];
  const auto end = std::to_chars(text, text + sizeof text, value,
                                 plain ? std::chars_format::fixed : std::chars_format::scientific);
  return {text, end.ptr};
}

// Degrees, without the traces that the way to radians and back leaves in the last digits.
std::string degrees(double radians) {
  constexpr double kKept = 1e12;
  return number(std::nearbyint(radians / kDegree * kKept) / kKept);
}

// A text of the survey in UTF-8 (what is not is taken as Latin-1), control characters as blanks.
std::string readable(std::string_view text) {
  bool utf8 = true;
  for (size_t i = 0, size = 0; utf8 && i < text.size(); i += size) {
    size = utf8Length(text.substr(i));
    utf8 = size != 0;
  }
  std::string out;
  for (const char c : text) {
    const uint8_t byte = static_cast<uint8_t>(c);
    if (byte < 0x20 || byte == 0x7F) {
      out += ' ';
    } else if (byte < 0x80 || utf8) {
      out += c;
    } else {
      out += static_cast<char>(0xC0 | byte >> 6);
      out += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return out;
}

std::string projectedWkt(const std::string& name, const std::string& conversion,
                         const Projection& projection, const NamedEllipsoid& ellipsoid,
                         const std::string& usage) {
  const MethodName& method = nameOf(projection.method);
  std::string out = "PROJCRS[" + quoted(name) + R"(,BASEGEOGCRS["unknown",)" + datumWkt(ellipsoid) +
                    "],CONVERSION[" + quoted(conversion) + ",METHOD[\"" + method.name +
                    R"(",ID["EPSG",)" + std::to_string(method.code) + "]]";
  for (const ParameterName& parameter : method.parameters) {
    out += parameterWkt(parameter, projection);
  }
  return out + "]," + kGridAxes + usage + "]";
}

std::string engineeringWkt(const std::string& name, const std::string& remark) {
  return "ENGCRS[" + quoted(name) + R"(,EDATUM["unknown"],)" + kGridAxes +
         (remark.empty() ? "" : ",REMARK[" + quoted(remark) + "]") + "]";
}

std::string geographicWkt(const std::string& name, const NamedEllipsoid& ellipsoid) {
  return "GEOGCRS[" + quoted(name) + "," + datumWkt(ellipsoid) +
         R"w(,CS[ellipsoidal,2],AXIS["longitude (Lon)",east,ORDER[1]],)w"
         R"w(AXIS["latitude (Lat)",north,ORDER[2]],)w" +
         kDegreeUnit + "]";
}

std::string geocentricWkt(const std::string& name, const NamedEllipsoid& ellipsoid) {
  return "GEODCRS[" + quoted(name) + "," + datumWkt(ellipsoid) +
         R"w(,CS[Cartesian,3],AXIS["(X)",geocentricX,ORDER[1]],AXIS["(Y)",geocentricY,ORDER[2]],)w"
         R"w(AXIS["(Z)",geocentricZ,ORDER[3]],)w" +
         kMetreUnit + "]";
}

}  // namespace tavo::survey
