// Reference systems: each kind of projection to a millimetre against PROJ through the system that
// we write, national ones against the public ones, and what must not become a system at all.
#include "survey/crs.h"

#include <cmath>
#include <string>

#include "judge.h"
#include "surveyed.h"

namespace tavo::tests {
namespace {

using survey::CrsOptions;
using survey::GeometryFindings;
using survey::kDegree;
using survey::Plane;
using survey::ProjectionSet;
using survey::ReferenceSystems;
using survey::SystemKind;

constexpr double kMillimetre = 0.001;

// A survey with ellipsoids 1 to 3, the map projection block, and set 1 on the ellipsoid.
std::string definitions(const std::string& projection, const std::string& set,
                        const std::string& units = "GEOCRD DEGS") {
  return "HEADER\nUNITS\n" + units +
         "\nEND UNITS\nEND HEADER\n"
         "DEFINITIONS\n"
         "ELLIPSOIDS (EllipsoidNo,Name,A,F)\n"
         "1,\"GRS 1980\",6378137,298.257222101;\n"
         "2,\"Bessel 1841\",6377397.155,0.0033427731821748059;\n"
         "3,\"Sphere\",6371000,0;\n"
         "4,\"Half\",6378137,6356752.314;\n"
         "5,\"International 1924\",6378388,297;\n"
         "END ELLIPSOIDS\n"
         "MAPPRJ_PARAMS\n" +
         projection +
         "\nEND MAPPRJ_PARAMS\n"
         "PROJECTION_SETS (PrjSetNo,Name,EllipsoidNo,MapPrjNo,LTrfNo,HTrfNo)\n" +
         set + "\nEND PROJECTION_SETS\nEND DEFINITIONS\n";
}

// A block of one data line.
std::string block(const std::string& keyword, const std::string& columns, const std::string& line) {
  return keyword + " (MapPrjNo,Name," + columns + ")\n1,\"map\"," + line + ";\nEND " + keyword;
}

struct Systems {
  explicit Systems(const std::string& text, const CrsOptions& options = {})
      : surveyed(text), view(surveyed.view()), findings(view), systems(view, options, findings) {}
  const ProjectionSet& set() const { return systems.sets().at(0); }
  std::string said() const { return saidOf(findings.all()); }

  Surveyed surveyed;
  survey::SurveyView view;
  GeometryFindings findings;
  ReferenceSystems systems;
};

void expectNear(const std::optional<Plane>& at, double east, double north, double within,
                const std::string& where) {
  ASSERT_TRUE(at) << where;
  EXPECT_NEAR(at->east, east, within) << where;
  EXPECT_NEAR(at->north, north, within) << where;
}

// Compares our projector with PROJ's reading of a system around a place.
void expectJudged(const ProjectionSet& set, const std::string& system, double lat, double lon,
                  double reach, const std::string& name) {
  for (double dLat = -reach; dLat <= reach; dLat += reach / 2) {
    for (double dLon = -reach; dLon <= reach; dLon += reach / 2) {
      const std::string where =
          name + " " + std::to_string(lat + dLat) + " " + std::to_string(lon + dLon) + " " + system;
      const std::optional<Judged> judged = judge(system, lat + dLat, lon + dLon);
      ASSERT_TRUE(judged) << where;
      expectNear(set.system.projector->forward((lat + dLat) * kDegree, (lon + dLon) * kDegree),
                 judged->east, judged->north, kMillimetre, where);
    }
  }
}

struct ProjectionKind {
  const char* name;
  std::string projection;
  const char* set;
  double lat, lon, reach;  // of the points that are compared, degrees
  double east, north;      // of the first, as PROJ 9.1 has it
};

const ProjectionKind kKinds[] = {
    {"UTM north", block("UTM", "ZoneNo,HEMISPHERE", "32,NORTH"), "1,\"set\",1,1,,;", 48, 8, 4,
     425404.8875, 5316784.0091},
    {"UTM south", block("UTM", "ZoneNo,HEMISPHERE", "19,SOUTH"), "1,\"set\",2,1,,;", -33, -70.5, 4,
     359886.3581, 6348075.3643},
    {"conic, two parallels",
     block("LAMBERT", "FalseEast,FalseNorth,OriginLat,OriginLong,PhiNorth,PhiSouth",
           "700000,6600000,46.5,3,49,44"),
     "1,\"set\",1,1,,;", 47, 4, 5, 775984.4645, 6656012.0097},
    {"conic, two parallels, south",
     block("LAMBERT", "FalseEast,FalseNorth,OriginLat,OriginLong,PhiNorth,PhiSouth",
           "1000000,2000000,-34,-60,-30,-40"),
     "1,\"set\",2,1,,;", -36, -61, 5, 910177.9664, 1778521.6068},
    {"conic by scale",
     block("LAMBERT_WITH_SCALE", "FalseEast,FalseNorth,OriginLat,OriginLong,Phi,Scale",
           "600000,200000,46.8,2.5,46.8,0.99987742"),
     "1,\"set\",2,1,,;", 47, 3, 4, 638018.6977, 222349.5373},
    {"conic by scale, other origin",
     block("LAMBERT_WITH_SCALE", "FalseEast,FalseNorth,OriginLat,OriginLong,Phi,Scale",
           "600000,200000,45,2.5,46.8,0.99987742"),
     "1,\"set\",2,1,,;", 47, 3, 4, 638018.6977, 422404.1156},
    {"transverse Mercator",
     block("MERCATOR", "FalseEast,FalseNorth,OriginLat,OriginLong,Scale,ZoneWidth",
           "3500000,-100,40,9,0.9999,3"),
     "1,\"set\",2,1,,;", 50, 9.7, 5, 3550175.6768, 1111218.4350},
    {"transverse Mercator, sphere", block("MERCATOR", "FalseEast,OriginLong", "500000,9"),
     "1,\"set\",3,1,,;", 50, 9.7, 5, 550032.0886, 5559980.4627},
    {"Mercator", block("MERCATOR_2", "FalseEast,FalseNorth,OriginLong", "50000,20000,9.25"),
     "1,\"set\",1,1,,;", 47.5, 9, 20, 22170.1273, 6012553.8248},
    {"Hotine from the centre",
     block("OBLIQUE_MERCATOR", "FalseEast,FalseNorth,OriginLat,OriginLong,Scale,SkewAxis,ANGLETYPE",
           "590476.87,442857.65,4,115,0.99984,53.31582047222222,ALPHA_C"),
     "1,\"set\",1,1,,;", 5, 115.5, 3, 645923.6504, 553439.3790},
    {"Hotine from the centre, rectified",
     block("OBLIQUE_MERCATOR", "FalseEast,FalseNorth,OriginLat,OriginLong,Scale,SkewAxis,ANGLETYPE",
           "590476.87,442857.65,-44,15,0.99984,150,GAMMA_0"),
     "1,\"set\",1,1,,;", -45, 15.5, 3, 601845.8973, 325402.3911},
    {"Hotine from the natural origin",
     block("RSO", "FalseEast,FalseNorth,OriginLat,OriginLong,SkewAxis,Scale,ANGLETYPE",
           "804671,0,4,102.25,323.025796466667,0.99984,ALPHA_C"),
     "1,\"set\",1,1,,;", 4.5, 102, 3, 444284.7647, 497134.9486},
    {"Hotine from the natural origin, rectified",
     block("RSO", "FalseEast,FalseNorth,OriginLat,OriginLong,SkewAxis,Scale,ANGLETYPE",
           "804671,0,4,102.25,323.130102361111,0.99984,GAMMA_0"),
     "1,\"set\",1,1,,;", 4.5, 102, 3, 445190.3863, 497790.2008},
    {"double stereographic",
     block("DOUBLE_STEREOGRAPHIC", "FalseEast,FalseNorth,OriginLat,OriginLong,Scale",
           "500000,500000,46,25,0.99975"),
     "1,\"set\",1,1,,;", 45.5, 25.5, 4, 539069.8702, 444562.4381},
    {"polar by scale",
     block("POLAR_STEREOGRAPHIC", "FalseEast,FalseNorth,OriginLat,OriginLong,Scale",
           "2000000,2000000,-90,0,0.994"),
     "1,\"set\",1,1,,;", -78, 30, 10, 2668490.2035, 3157858.9968},
    {"polar by HEMISPHERE",
     block("POLAR_STEREOGRAPHIC", "FalseEast,FalseNorth,OriginLong,Scale,HEMISPHERE",
           "2000000,2000000,10,0.994,NORTH"),
     "1,\"set\",1,1,,;", 78, 30, 10, 2457274.2304, 743649.3774},
    {"polar by parallel", block("POLAR_STEREOGRAPHIC", "OriginLat,OriginLong", "-71,70"),
     "1,\"set\",1,1,,;", -70, 60, 10, -381069.9270, 2161154.9490},
    {"Cassini-Soldner",
     block("CASSINI_SOLDNER", "FalseEast,FalseNorth,OriginLat,OriginLong", "40000,10000,52.5,13.5"),
     "1,\"set\",2,1,,;", 52.6, 13.8, 2, 60324.2691, 21168.7699},
    {"New Zealand", block("SPECIAL", "SPPRJ_TYPE", "NEWZEALAND_GRID"), "1,\"set\",,1,,;", -41.5,
     173.5, 3, 2551749.1971, 5967503.8462},
};

TEST(Crs, EveryKindIsRightToTheMillimetre) {
  for (const ProjectionKind& kind : kKinds) {
    const Systems systems(definitions(kind.projection, kind.set));
    ASSERT_EQ(systems.set().system.kind, SystemKind::kProjected) << kind.name << systems.said();
    const auto at = systems.set().system.projector->forward(kind.lat * kDegree, kind.lon * kDegree);
    expectNear(at, kind.east, kind.north, kMillimetre, kind.name);
    if (hasJudge()) {
      expectJudged(systems.set(), systems.set().system.wkt, kind.lat, kind.lon, kind.reach,
                   kind.name);
      expectJudged(systems.set(), asOldText(systems.set().system.wkt), kind.lat, kind.lon,
                   kind.reach, kind.name);
      EXPECT_EQ(identified(systems.set().system.wkt), 0) << kind.name;
    }
  }
}

TEST(Crs, NationalSystemsAreThePublicOnes) {
  if (!hasJudge()) GTEST_SKIP() << "built without PROJ";
  const struct {
    const char *type, *system;
    double lat, lon, reach;
  } kNational[] = {
      {"SWISS_MILITARY", "EPSG:21781", 46.8, 8.2, 1},
      {"SWISS_CIVILIAN", "EPSG:21782", 46.8, 8.2, 1},
      {"SWISS95", "EPSG:2056", 46.8, 8.2, 1},
      {"DUTCH", "EPSG:28992", 52.2, 5.5, 1},
      {"MALAYAN_RSO", "EPSG:3168", 4, 102, 2},
      {"HUNGARIAN", "EPSG:23700", 47, 19, 2},
      {"SOLDNER_BERLIN", "EPSG:3068", 52.5, 13.4, 0.5},
      {"NEWZEALAND_GRID", "EPSG:27200", -41, 173, 4},
  };
  for (const auto& row : kNational) {
    const Systems systems(definitions(block("SPECIAL", "SPPRJ_TYPE", row.type), "1,\"set\",,1,,;"));
    ASSERT_TRUE(systems.set().system.projector) << systems.said();
    expectJudged(systems.set(), row.system, row.lat, row.lon, row.reach, row.type);
    expectJudged(systems.set(), systems.set().system.wkt, row.lat, row.lon, row.reach, row.type);
  }
}

std::string utm(const std::string& line) { return block("UTM", "ZoneNo,HEMISPHERE", line); }
std::string hotine(const std::string& line) {
  return block("RSO",
               "FalseEast,FalseNorth,OriginLat,OriginLong,SkewAxis,Scale,RECTIFYTYPE,ANGLETYPE",
               line);
}
std::string polar(const std::string& line) {
  return block("POLAR_STEREOGRAPHIC", "FalseEast,OriginLat,OriginLong,Scale,HEMISPHERE", line);
}
const char kSet[] = "1,\"set\",1,1,,;";

// What becomes no system, another one, or one with a note, and what is said on it.
TEST(Crs, WhatIsSaid) {
  const std::string plane = block("PLANE", "Scale", "1.000015");
  const struct {
    std::string projection, set;
    SystemKind kind;
    const char* said;
  } kRows[] = {
      {utm("32,NORTH"), "1,\"set\",4,1,,;", SystemKind::kNone,
       "F 6356752.314 of its ellipsoid is neither a flattening nor an inverse one; it has no "
       "reference system"},
      {utm("32,NORTH"), "1,\"set\",9,1,,;", SystemKind::kNone, "no ellipsoid 9 is defined"},
      {utm("32,NORTH"), "1,\"set\",,1,,;", SystemKind::kNone, "no ellipsoid is given"},
      {utm("32,NORTH"), "1,\"set\",1,7,,;", SystemKind::kNone, "no map projection 7 is defined"},
      {utm("61,NORTH"), kSet, SystemKind::kNone, "zone 61 is none of UTM"},
      {utm("32,UNKNOWN"), kSet, SystemKind::kProjected, "HEMISPHERE is unknown, taken as NORTH"},
      {utm("32,NORTH"), kSet, SystemKind::kProjected,
       "note 20: Projection set 1 \"set\": datum unknown, on the ellipsoid \"GRS 1980\""},
      {utm("32,NORTH") + "\n" + plane, kSet, SystemKind::kProjected,
       "warning 19: Map projection 1 is defined before; the first definition holds"},
      {utm("32,NORTH"), "1,\"set\",1,1,3,4;", SystemKind::kEngineering,
       "transformation 3 of plane coordinates is not applied"},
      {utm("32,NORTH"), "1,\"set\",1,1,,4;", SystemKind::kProjected,
       "transformation 4 of heights is not applied"},
      {plane, "1,\"set\",,1,,;", SystemKind::kEngineering, "a plane"},
      {hotine("0,0,4,102,323,1,STANDARD,"), kSet, SystemKind::kNone,
       "ANGLETYPE does not say which angle SkewAxis is"},
      {hotine("0,0,4,102,323,1,NAD27,ALPHA_C"), kSet, SystemKind::kProjected,
       "RECTIFYTYPE NAD27 changes nothing"},
      {hotine("0,0,4,102,,1,STANDARD,ALPHA_C"), kSet, SystemKind::kNone, "SkewAxis is not given"},
      {hotine("0,0,-60,102,89,1,STANDARD,GAMMA_0"), kSet, SystemKind::kNone,
       "no line through its centre has the angle SkewAxis"},
      {hotine("0,0,4,102,323,-1,STANDARD,ALPHA_C"), kSet, SystemKind::kNone,
       "Scale -1 is out of range"},
      {hotine("0,0,94,102,323,1,STANDARD,ALPHA_C"), kSet, SystemKind::kNone,
       "OriginLat 94 is out of range"},
      {polar("0,-71,0,0.99,SOUTH"), kSet, SystemKind::kNone,
       "Scale 0.99 beside a parallel of true scale contradicts it"},
      {polar("0,-71,0,1,NORTH"), kSet, SystemKind::kProjected,
       "HEMISPHERE is not that of OriginLat, which holds"},
      {polar("0,,0,1,UNKNOWN"), kSet, SystemKind::kNone,
       "neither OriginLat nor HEMISPHERE names a pole"},
      {block("MERCATOR_2", "OriginLong,Scale", "9,0.5"), kSet, SystemKind::kProjected,
       "Scale has no place in the records of this projection"},
      {block("LAMBERT", "OriginLat,OriginLong,PhiNorth,PhiSouth", "0,0,30,-30"), kSet,
       SystemKind::kNone, "its parameters make no projection"},
      {block("SPECIAL", "SPPRJ_TYPE", "DUTCH"), kSet, SystemKind::kProjected,
       "it is defined on \"Bessel 1841\" but the set has \"GRS 1980\""},
      {block("SPECIAL", "SPPRJ_TYPE", "NEWZEALAND_GRID"), kSet, SystemKind::kNone,
       "it is defined on \"International 1924\" but the set has \"GRS 1980\"; it has no"},
      {block("SPECIAL", "SPPRJ_TYPE", "UNKNOWN"), kSet, SystemKind::kNone,
       "its special projection is not known"},
  };
  for (const auto& row : kRows) {
    const Systems systems(definitions(row.projection, row.set));
    EXPECT_NE(systems.said().find(row.said), std::string::npos) << row.said << systems.said();
    EXPECT_EQ(systems.set().system.kind, row.kind) << row.said;
    EXPECT_EQ(systems.set().system.wkt.empty(), row.kind == SystemKind::kNone) << row.said;
    if (hasJudge() && row.kind == SystemKind::kEngineering) {
      EXPECT_EQ(judgedType(systems.set().system.wkt), "engineering") << systems.set().system.wkt;
    }
  }
  const Systems unknown(
      definitions(block("MERCATOR_2", "OriginLong", "9"), kSet, "GEOCRD UNKNOWN"));
  EXPECT_NE(unknown.said().find("the unit of OriginLong is unknown"), std::string::npos);
}

// A line's rectifying angle is the one that SkewAxis gives and never computed, false coordinates
// count from the one or the other origin, and a line has two ends.
TEST(Crs, HotineAnglesAndOrigins) {
  const std::string parameters = "804671,0,4,102.25,323.025796466667,0.99984,STANDARD,ALPHA_C";
  const Systems own(definitions(hotine(parameters), kSet));
  const std::string& wkt = own.set().system.wkt;
  EXPECT_NE(wkt.find("\"Azimuth of initial line\",323.025796466667,"), std::string::npos) << wkt;
  EXPECT_NE(wkt.find("Skew Grid\",323.025796466667,"), std::string::npos) << wkt;
  CrsOptions centre;
  centre.hotine = survey::HotineOrigin::kCentre;
  const Systems other(definitions(hotine(parameters), kSet), centre);
  EXPECT_NE(other.set().system.wkt.find("(variant B)"), std::string::npos);
  const auto at = other.set().system.projector->forward(4 * kDegree, 102.25 * kDegree);
  expectNear(at, 804671, 0, kMillimetre, "the projection centre");
  const auto far = own.set().system.projector->forward(4 * kDegree, 102.25 * kDegree);
  EXPECT_GT(std::hypot(far->east - 804671, far->north), 400e3);

  const Systems end(
      definitions(hotine("804671,0,4,102.25,143.025796466667,0.99984,STANDARD,ALPHA_C"), kSet));
  EXPECT_EQ(end.set().system.wkt, wkt);
}

TEST(Crs, NorthingOfAConeByScaleCountsFromOriginLat) {
  const Systems systems(
      definitions(block("LAMBERT_WITH_SCALE", "FalseEast,FalseNorth,OriginLat,OriginLong,Phi,Scale",
                        "600000,200000,45,2.5,46.8,0.99987742"),
                  kSet));
  expectNear(systems.set().system.projector->forward(45 * kDegree, 2.5 * kDegree), 600000, 200000,
             kMillimetre, "OriginLat");
  EXPECT_NE(systems.set().system.wkt.find("natural origin\",46.8,"), std::string::npos);
}

TEST(Crs, IgnoringTransformations) {
  CrsOptions options;
  options.ignoreTransformations = true;
  const Systems systems(definitions(utm("32,NORTH"), "1,\"set\",1,1,3,;"), options);
  EXPECT_EQ(systems.set().system.kind, SystemKind::kProjected);
  EXPECT_NE(systems.said().find("transformation 3 of plane coordinates is ignored"),
            std::string::npos);
}

// The whole text once: names in quotes and in Latin-1, units of the file, the domain.
TEST(Crs, Text) {
  const Systems systems(definitions(block("MERCATOR", "FalseEast,OriginLong,Scale,ZoneWidth",
                                          "1640416.6666666667,9.3000,1,3.0000"),
                                    "1,\"a \\\"b\\\" \xFC\",2,1,,;", "LINEAR US_SURVEY_FEET"));
  EXPECT_EQ(
      systems.set().system.wkt,
      R"w(PROJCRS["a ""b"" ü",BASEGEOGCRS["unknown",DATUM["unknown",ELLIPSOID["Bessel 1841",)w"
      R"w(6377397.155,299.1528128,LENGTHUNIT["metre",1]]],PRIMEM["Greenwich",0,ANGLEUNIT["degree",)w"
      R"w(0.0174532925199433]]],CONVERSION["map",METHOD["Transverse Mercator",ID["EPSG",9807]],)w"
      R"w(PARAMETER["Latitude of natural origin",0,ANGLEUNIT["degree",0.0174532925199433],)w"
      R"w(ID["EPSG",8801]],PARAMETER["Longitude of natural origin",9.5,ANGLEUNIT["degree",)w"
      R"w(0.0174532925199433],ID["EPSG",8802]],PARAMETER["Scale factor at natural origin",1,)w"
      R"w(SCALEUNIT["unity",1],ID["EPSG",8805]],PARAMETER["False easting",500000,LENGTHUNIT[)w"
      R"w("metre",1],ID["EPSG",8806]],PARAMETER["False northing",0,LENGTHUNIT["metre",1],)w"
      R"w(ID["EPSG",8807]]],CS[Cartesian,2],AXIS["easting (E)",east,ORDER[1]],AXIS["northing (N)",)w"
      R"w(north,ORDER[2]],LENGTHUNIT["metre",1],USAGE[SCOPE["unknown"],BBOX[-90,8,90,11]]])w");
}

TEST(Crs, ZonesOfFinland) {
  const Systems systems(
      definitions(block("SPECIAL", "SPPRJ_TYPE", "FINNISH_KKJ"), "1,\"KKJ\",5,1,,;"));
  ASSERT_TRUE(systems.set().zoned);
  EXPECT_EQ(survey::zoneOfEast(3400000), 3);
  EXPECT_EQ(survey::zoneOfEast(-1), -1);
  EXPECT_EQ(survey::zoneOfEast(6500000), -1);
  EXPECT_EQ(survey::zoneOfLongitude(25.4 * kDegree), 2);
  EXPECT_EQ(survey::zoneOfLongitude(40 * kDegree), -1);
  const int codes[] = {3386, 2391, 2392, 2393, 2394, 3387};
  for (int zone = 0; hasJudge() && zone <= 5; ++zone) {
    ProjectionSet set = systems.set();
    set.system = survey::zoneSystem(set, zone);
    const std::string code = "EPSG:" + std::to_string(codes[zone]);
    expectJudged(set, code, 62, 18 + 3 * zone, 1, code);
    expectJudged(set, set.system.wkt, 62, 18 + 3 * zone, 1, code);
  }
}

TEST(Crs, CoordinatesThatAreNotProjected) {
  const Systems systems(definitions(utm("32,NORTH"), kSet));
  if (hasJudge()) {
    EXPECT_EQ(judgedType(survey::geographicWkt(systems.set())), "geographic");
    EXPECT_EQ(judgedType(survey::geocentricWkt(systems.set())), "geocentric");
  }
  // 48 degrees north, 11 degrees east, 500 m, by the closed formulas of the other direction.
  const survey::Ellipsoid shape = systems.set().ellipsoid->shape;
  const double lat = 48 * kDegree, lon = 11 * kDegree, h = 500;
  const double n = shape.a / std::sqrt(1 - shape.e2() * std::sin(lat) * std::sin(lat));
  const survey::Geographic back = survey::fromGeocentric(
      (n + h) * std::cos(lat) * std::cos(lon), (n + h) * std::cos(lat) * std::sin(lon),
      (n * (1 - shape.e2()) + h) * std::sin(lat), shape);
  EXPECT_NEAR(back.lat, lat, 1e-12);
  EXPECT_NEAR(back.lon, lon, 1e-12);
  EXPECT_NEAR(back.height, h, 1e-6);
}

}  // namespace
}  // namespace tavo::tests
