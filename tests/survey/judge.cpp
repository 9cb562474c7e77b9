// The judge, or, in a build without PROJ, nobody.
#include "judge.h"

#if TAVO_HAVE_PROJ

#include <proj.h>

#include <cmath>
#include <memory>

namespace tavo::tests {
namespace {

struct Destroy {
  void operator()(PJ* pj) const { proj_destroy(pj); }
  void operator()(PJ_CONTEXT* context) const { proj_context_destroy(context); }
};
using Object = std::unique_ptr<PJ, Destroy>;
using Context = std::unique_ptr<PJ_CONTEXT, Destroy>;

// One for all, since opening its database takes time.
PJ_CONTEXT* quietContext() {
  static const Context context(proj_context_create());
  proj_log_level(context.get(), PJ_LOG_NONE);
  return context.get();
}

Object create(PJ_CONTEXT* context, const std::string& system) {
  return Object(proj_create(context, system.c_str()));
}

// From the base of a projected system to it, longitude and easting first; null for another system.
Object planOf(PJ_CONTEXT* context, const std::string& system) {
  const Object crs = create(context, system);
  if (!crs || proj_get_type(crs.get()) != PJ_TYPE_PROJECTED_CRS) return nullptr;
  const Object base(proj_get_source_crs(context, crs.get()));
  const Object raw(
      proj_create_crs_to_crs_from_pj(context, base.get(), crs.get(), nullptr, nullptr));
  return Object(raw ? proj_normalize_for_visualization(context, raw.get()) : nullptr);
}

}  // namespace

bool hasJudge() { return true; }

std::optional<Judged> judge(const std::string& system, double lat, double lon) {
  // Many points are asked of one system after the other.
  static PJ_CONTEXT* const context = quietContext();
  static std::string planned;
  static Object plan;
  if (planned != system) {
    planned = system;
    plan = planOf(context, system);
  }
  if (!plan) return std::nullopt;
  const PJ_COORD at = proj_trans(plan.get(), PJ_FWD, proj_coord(lon, lat, 0, HUGE_VAL));
  if (!std::isfinite(at.xy.x) || !std::isfinite(at.xy.y)) return std::nullopt;
  return Judged{at.xy.x, at.xy.y};
}

std::string judgedType(const std::string& system) {
  PJ_CONTEXT* const context = quietContext();
  const Object crs = create(context, system);
  switch (crs ? proj_get_type(crs.get()) : PJ_TYPE_UNKNOWN) {
    case PJ_TYPE_PROJECTED_CRS:
      return "projected";
    case PJ_TYPE_ENGINEERING_CRS:
      return "engineering";
    case PJ_TYPE_GEOGRAPHIC_2D_CRS:
      return "geographic";
    case PJ_TYPE_GEOCENTRIC_CRS:
      return "geocentric";
    default:
      return "";
  }
}

std::string asOldText(const std::string& system) {
  PJ_CONTEXT* const context = quietContext();
  const Object crs = create(context, system);
  const char* const text = crs ? proj_as_wkt(context, crs.get(), PJ_WKT1_GDAL, nullptr) : nullptr;
  return text == nullptr ? "" : text;
}

int identified(const std::string& system) {
  PJ_CONTEXT* const context = quietContext();
  const Object crs = create(context, system);
  int* confidence = nullptr;
  PJ_OBJ_LIST* const found =
      crs ? proj_identify(context, crs.get(), "EPSG", nullptr, &confidence) : nullptr;
  int code = 0;
  if (found != nullptr && proj_list_get_count(found) > 0 && confidence[0] >= 90) {
    const Object best(proj_list_get(context, found, 0));
    code = std::atoi(proj_get_id_code(best.get(), 0));
  }
  proj_int_list_destroy(confidence);
  proj_list_destroy(found);
  return code;
}

}  // namespace tavo::tests

#else

namespace tavo::tests {

bool hasJudge() { return false; }
std::optional<Judged> judge(const std::string&, double, double) { return std::nullopt; }
std::string judgedType(const std::string&) { return ""; }
std::string asOldText(const std::string&) { return ""; }
int identified(const std::string&) { return 0; }

}  // namespace tavo::tests

#endif
