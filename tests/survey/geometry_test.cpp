// Geometry: which coordinates count and where they lie, how edges join to lines and polygons, where
// labels sit, and what observations reduce to.
#include "survey/geometry.h"

#include <cmath>
#include <cstdio>
#include <string>

#include "support/analysis.h"
#include "surveyed.h"

namespace tavo::tests {
namespace {

using survey::Geometry;
using survey::kDegree;
using survey::kNowhere;

std::string textOf(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.3f", value);
  std::string out = text;
  while (out.back() == '0') out.pop_back();
  if (out.back() == '.') out.pop_back();
  return out == "-0" ? "0" : out;
}

std::string vertexText(double x, double y, double z) {
  return textOf(x) + " " + textOf(y) + (std::isnan(z) ? "" : " " + textOf(z));
}

// "crs: x y z", or "-" without a place.
std::string textOf(const tavo_position& at) {
  if (at.dimension == 0) return "-";
  EXPECT_EQ(at.dimension == 3, !std::isnan(at.z));
  return std::to_string(at.crs) + ": " + vertexText(at.x, at.y, at.z);
}

// "owner crs: (x y, x y) (...)", a bar in front of every further polygon.
std::string textOf(const tavo_shape& shape) {
  std::string out = std::to_string(shape.owner) + " " + std::to_string(shape.crs) + ":";
  for (size_t run = 0; run < shape.run_count; ++run) {
    for (size_t i = 1; i < shape.polygon_count; ++i) out += shape.polygons[i] == run ? " |" : "";
    for (size_t v = shape.runs[run]; v < shape.runs[run + 1]; ++v) {
      const double* const at = shape.vertices + 3 * v;
      out += (v == shape.runs[run] ? " (" : ", ") + vertexText(at[0], at[1], at[2]);
    }
    out += ")";
  }
  return out;
}

struct Located {
  explicit Located(const std::string& text, const survey::CrsOptions& options = {})
      : surveyed(text), geometry(surveyed.view(), options) {}
  std::string places(RecordType type) const {
    std::string all;
    for (const tavo_position& at : geometry.positions(type)) all += textOf(at) + "\n";
    return all;
  }
  std::string shapes(RecordType type) const {
    std::string all;
    const survey::Shapes& shapes = *geometry.shapes(type);
    for (size_t i = 0; i < shapes.count(); ++i) all += textOf(shapes.at(i)) + "\n";
    return all;
  }
  std::string said() const { return saidOf(geometry.findings()); }

  Surveyed surveyed;
  Geometry geometry;
};

std::string header(const std::string& units, const std::string& offsets = "") {
  return "HEADER\nUNITS\n" + units + "\nEND UNITS\nOFFSETS\n" + offsets +
         "\nEND OFFSETS\nEND HEADER\n";
}
std::string points(const std::string& columns, const std::string& lines) {
  return "DATABASE\nPOINTS (PointNo," + columns + ")\n" + lines + "\nEND POINTS\nEND DATABASE\n";
}

// Set 1: UTM 32 on GRS 1980; set 2: a plane; set 3: zones; set 4: without a system.
const char kSets[] = R"(DEFINITIONS
ELLIPSOIDS (EllipsoidNo,Name,A,F)
  1,"GRS 1980",6378137,298.257222101;
END ELLIPSOIDS
MAPPRJ_PARAMS
UTM (MapPrjNo,ZoneNo,HEMISPHERE)
  1,32,NORTH;
END UTM
PLANE (MapPrjNo)
  2;
END PLANE
SPECIAL (MapPrjNo,SPPRJ_TYPE)
  3,FINNISH_KKJ;
END SPECIAL
END MAPPRJ_PARAMS
PROJECTION_SETS (PrjSetNo,Name,EllipsoidNo,MapPrjNo)
  1,"UTM",1,1;
  2,"plane",1,2;
  3,"KKJ",,3;
  4,"none",1,9;
END PROJECTION_SETS
END DEFINITIONS
)";

// What a geographic point of a set becomes is the business of the projections' tests; here it is
// only that it is projected at all. UTM 32 has 500000, 0 at 9 degrees on the equator.
TEST(Geometry, PresenceDecidesWhichCoordinatesCount) {
  const Located located(
      header("GEOCRD DEGS") + kSets +
      points("East,North,Elevation,Longitude,Latitude,EllHeight,X,Y,Z,PrjSetNo",
             "1,0,0,0,9,0,7,1,2,3,1;"          // the grid wins, and 0 is a coordinate
             "\n2,,,4,9,0,7,,,,1;"             // projected
             "\n3,5,,,9,0,7,,,,2;"             // a plane cannot project: degrees
             "\n4,,,,,,,6378137,0,0,2;"        // geocentric
             "\n5,,,,,,,6378137,0,0,1;"        // geocentric, projected: 9 degrees west of its zone
             "\n6,5,,1,,,,,,,1;"               // East alone is no place
             "\n7,1,2,,,,,,,,8;"               // an unknown set
             "\n8,1,2,,,,,,,,;"                // which of four?
             "\n9,3400000,7000000,,,,,,,,3;"   // zone 3
             "\n10,,,,25,0,,,,,3;"             // zone 2
             "\n11,1,2,,,,,,,,4;"              // a set without system
             "\n12,,,,9,95,,,,,1;"             // no latitude
             "\n13,9400000,7000000,,,,,,,,3;"  // no zone
             ));
  EXPECT_EQ(located.places(TVO_RECORD_POINTS),
            "0: 0 0 0\n0: 500000 0 4\n1: 9 0 7\n2: 6378137 0 0\n0: -505646.9 0\n-\n3: 1 2\n3: 1 2\n"
            "4: 3400000 7000000\n5: 2611329.562 0\n6: 1 2\n-\n7: 9400000 7000000\n");
  const struct {
    uint32_t coordinates, heights, set;
    int zone;
    const char* name;
    bool system;
  } kSystems[] = {{TAVO_COORDINATES_GRID, TAVO_HEIGHTS_ELEVATION, 1, -1, "UTM", true},
                  {TAVO_COORDINATES_GEOGRAPHIC, TAVO_HEIGHTS_ELLIPSOIDAL, 2, -1, "plane", true},
                  {TAVO_COORDINATES_GEOCENTRIC, TAVO_HEIGHTS_NONE, 2, -1, "plane", true},
                  {TAVO_COORDINATES_GRID, TAVO_HEIGHTS_NONE, 0, -1, "", false},
                  {TAVO_COORDINATES_GRID, TAVO_HEIGHTS_NONE, 3, 3, "KKJ, zone 3", true},
                  {TAVO_COORDINATES_GRID, TAVO_HEIGHTS_NONE, 3, 2, "KKJ, zone 2", true},
                  {TAVO_COORDINATES_GRID, TAVO_HEIGHTS_NONE, 4, -1, "none", false},
                  {TAVO_COORDINATES_GRID, TAVO_HEIGHTS_NONE, 3, -1, "KKJ", false}};
  ASSERT_EQ(located.geometry.crs().size(), std::size(kSystems));
  for (size_t i = 0; i < std::size(kSystems); ++i) {
    const tavo_crs& crs = located.geometry.crs()[i];
    EXPECT_EQ(crs.coordinates, kSystems[i].coordinates) << i;
    EXPECT_EQ(crs.heights, kSystems[i].heights) << i;
    EXPECT_EQ(crs.set_no, kSystems[i].set) << i;
    EXPECT_EQ(crs.set, crs.set_no == 0 ? kNowhere : crs.set_no - 1) << i;
    EXPECT_EQ(crs.zone, kSystems[i].zone) << i;
    EXPECT_STREQ(crs.name, kSystems[i].name) << i;
    EXPECT_EQ(*crs.wkt != '\0', kSystems[i].system) << i;
  }
  for (const char* const said :
       {"warning 39: No projection set 8 is defined", "warning 44: Latitude or longitude is out",
        "warning 45: East does not begin with the number of a zone",
        "note 0: Points without a reference system: 4\n",
        "note 0: Ellipsoidal heights left out, since others are elevations: 1\n",
        "note 0: Heights in \"plane\" are above the ellipsoid\n"}) {
    EXPECT_NE(located.said().find(said), std::string::npos) << said << "\n" << located.said();
  }
}

// Units and offsets are those in force where a line stands.
TEST(Geometry, UnitsAndOffsets) {
  const std::string line = "East,North,Elevation,Longitude,Latitude";
  const struct {
    std::string text, places;
  } kRows[] = {
      {header("LINEAR INT_FEET", "EAST 1000\nNORTH 2000\nELEVATION 100") +
           points(line, "1,10,20,30,,;") + header("LINEAR METRE", "EAST 0\nNORTH 0\nELEVATION 0") +
           points(line, "2,10,20,30,,;"),
       "0: 307.848 615.696 39.624\n0: 10 20 30\n"},
      {points(line, "1,,,,-7.3000,47.1530;"), "0: -7.5 47.258\n"},
      {header("GEOCRD GRADS") + points(line, "1,,,,10,50;"), "0: 9 45\n"},
      {header("GEOCRD UNKNOWN") + points(line, "1,,,,10,50;"), "-\n"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(Located(row.text).places(TVO_RECORD_POINTS), row.places) << row.text;
  }
  // Of one set it need not be said; of an unknown unit there is no system.
  std::string one = kSets;
  one = one.substr(0, one.find("  2,\"plane\"")) + "END PROJECTION_SETS\nEND DEFINITIONS\n";
  const Located known(one + points("East,North", "1,1,2;"));
  EXPECT_EQ(known.geometry.crs()[0].set_no, 1u);
  const Located unknown(header("LINEAR UNKNOWN") + one + points("East,North", "1,1,2;"));
  EXPECT_STREQ(unknown.geometry.crs()[0].wkt, "");
  EXPECT_EQ(unknown.places(TVO_RECORD_POINTS), "0: 1 2\n");
}

// Ten points on a square of 10 metres and around, the first four with heights; A and B by text.
const std::string kSquares =
    "POINTS (PointNo,PointID,East,North,Elevation)\n"
    "1,,0,0,1;\n2,,10,0,2;\n3,,10,10,3;\n4,,0,10,4;\n5,,2,2,;\n6,,4,2,;\n7,,4,4,;\n8,,2,4,;\n"
    ",\"A\",20,0,;\n,\"B\",30,0,;\n,\"C\",30,10,;\n13,,,,;\n"
    "21,,1,1,;\n22,,9,1,;\n23,,9,9,;\n24,,1,9,;\n1,\"twin\",99,99,;\nEND POINTS\n";

TEST(Geometry, LinesJoinOrBeginAnew) {
  const Located located(
      "DATABASE\n" + kSquares +
      "LINES (LineNo)\n1;\n2;\n3;\n4;\n2;\n"
      "EDGES (LineNo,StartPt,StartPtID,EndPt,EndPtID,LINETYPE)\n"
      "1,1,,2,,STRAIGHT;\n"   // 37
      "2,3,,4,,ARC_CENT;\n"   // of another line between
      "1,2,,3,,CURVE_3RD;\n"  //
      "1,4,,1,,SPLAY;\n"      // 40: does not join
      "1,1,,77,,STRAIGHT;\n"  // is not there
      "1,77,,2,,STRAIGHT;\n"  //
      "1,2,,13,,STRAIGHT;\n"  // has no coordinates
      "3,,\"A\",,\"B\",;\n"   //
      "3,,\"B\",,\"nn\",;\n"  // 45
      "9,1,,2,,STRAIGHT;\n"   // of a line that is not there
      "4,5,,5,,STRAIGHT;\n"   // no length
      "END EDGES\n"
      "ANNOTATIONS (LineNo,Annotation)\n1,\"half way\";\n4,\"nowhere\";\n9,\"no line\";\n"
      "END ANNOTATIONS\nEND LINES\nEND DATABASE\n");
  EXPECT_EQ(located.shapes(TVO_RECORD_LINES),
            "0 0: (0 0 1, 10 0 2, 10 10 3) (0 10 4, 0 0 1)\n"
            "1 0: (10 10 3, 0 10 4)\n"
            "2 0: (20 0, 30 0)\n");
  EXPECT_EQ(located.shapes(TVO_RECORD_LINE_EDGES),
            "0 0: (0 0 1, 10 0 2)\n1 0: (10 10 3, 0 10 4)\n2 0: (10 0 2, 10 10 3)\n"
            "3 0: (0 10 4, 0 0 1)\n7 0: (20 0, 30 0)\n9 0: (0 0 1, 10 0 2)\n10 0: (2 2, 2 2)\n");
  EXPECT_EQ(located.places(TVO_RECORD_LINE_ANNOTATIONS), "0: 10 0 2\n-\n-\n");
  EXPECT_EQ(located.said(),
            "note 0: Points without a reference system: 16\n"
            "warning 19: Point 1 is given before; lines and polygons use the first one\n"
            "warning 26: Line 2 is given before; its edges are those of the first one\n"
            "warning 32: Line 1: an edge leads to point 77, which is not there\n"
            "warning 33: Line 1: an edge leads to point 77, which is not there\n"
            "warning 34: Line 1: an edge leads to point 13, which has no coordinates\n"
            "warning 36: Line 3: an edge leads to point \"nn\", which is not there\n"
            "warning 37: Line 9, which an edge names, is not there\n"
            "warning 31: Line 1: an edge does not join the one before it; a further part begins\n"
            "note 29: Arcs and curves drawn as their chords: 2\n"
            "warning 43: An annotation of a line that is not there\n");
}

TEST(Geometry, ALineOverTwoSetsIsCut) {
  const Located located(std::string(kSets) +
                        "DATABASE\nPOINTS (PointNo,East,North,PrjSetNo)\n"
                        "1,1,1,1;\n2,2,2,1;\n3,3,0,2;\n4,4,4,2;\n5,5,5,1;\n6,6,6,1;\nEND POINTS\n"
                        "LINES (LineNo)\n1;\n"
                        "EDGES (LineNo,StartPt,EndPt)\n1,1,2;\n1,2,3;\n1,3,4;\n1,4,5;\n1,5,6;\n"
                        "END EDGES\nEND LINES\nPOLYGONS (PolygonNo)\n1;\n"
                        "EDGES (PolygonNo,StartPt,EndPt)\n1,1,2;\n1,2,3;\n1,3,1;\nEND EDGES\n"
                        "END POLYGONS\nEND DATABASE\n");
  EXPECT_EQ(located.shapes(TVO_RECORD_LINES), "0 0: (1 1, 2 2) (5 5, 6 6)\n0 1: (3 0, 4 4)\n");
  EXPECT_EQ(located.shapes(TVO_RECORD_POLYGONS), "");
  EXPECT_NE(located.said().find("leads from one reference system to another; it is cut"),
            std::string::npos);
  EXPECT_NE(located.said().find("Polygon 1: its vertices lie in several reference systems"),
            std::string::npos);
}

// Rings as point numbers; each comes back to its first.
std::string edges(int owner, std::initializer_list<std::initializer_list<int>> rings) {
  std::string out;
  for (const auto& ring : rings) {
    for (const int* at = ring.begin(); at + 1 < ring.end(); ++at) {
      out +=
          std::to_string(owner) + "," + std::to_string(at[0]) + "," + std::to_string(at[1]) + ";\n";
    }
  }
  return out;
}

TEST(Geometry, RingsBecomePolygons) {
  const Located located(
      "DATABASE\n" + kSquares + "POLYGONS (PolygonNo)\n1;\n2;\n3;\n4;\n5;\n6;\n" +
      "EDGES (PolygonNo,StartPt,EndPt)\n" + edges(1, {{1, 2, 3, 4, 1}}) +
      // An island in the hole, which comes first, stands before its hole's owner.
      edges(2, {{5, 6, 7, 5}, {21, 22, 23, 24, 21}, {1, 2, 3, 4, 1}}) +
      edges(3, {{1, 2, 3, 1}, {5, 6, 7}}) +                  // does not close
      edges(4, {{1, 2, 3}, {4, 1}}) +                        // does not join
      edges(5, {{1, 2, 1}}) +                                // no area
      edges(6, {{21, 22, 23, 24, 21}, {1, 2, 22, 21, 1}}) +  // neighbours, a shared side
      "END EDGES\nANNOTATIONS (PolygonNo,Annotation)\n1,\"inside\";\n2,\"beside the hole\";\n"
      "END ANNOTATIONS\nEND POLYGONS\nEND DATABASE\n");
  EXPECT_EQ(located.shapes(TVO_RECORD_POLYGONS),
            "0 0: (0 0 1, 10 0 2, 10 10 3, 0 10 4, 0 0 1)\n"
            "1 0: (2 2, 4 2, 4 4, 2 2) | (0 0, 10 0, 10 10, 0 10, 0 0) "
            "(1 1, 9 1, 9 9, 1 9, 1 1)\n"
            "5 0: (1 1, 9 1, 9 9, 1 9, 1 1) | (0 0, 10 0, 9 1, 1 1, 0 0)\n");
  EXPECT_EQ(located.places(TVO_RECORD_POLYGON_ANNOTATIONS), "0: 5 5\n0: 3.5 3\n");
  size_t open = 0;
  const std::string said = located.said();
  for (size_t at = 0; (at = said.find("a ring does not close", at)) != std::string::npos; ++at)
    ++open;
  EXPECT_EQ(open, 2u) << said;
  EXPECT_NE(said.find("Polygon 5: a ring has no area"), std::string::npos) << said;
}

TEST(Geometry, LabelsStandAtTheirPoints) {
  const Located located(
      header("LINEAR INT_FEET") + "DATABASE\n" + kSquares +
      "TEXT\nBOXES\nBOX_ON_POINT (TextBoxNo,AnchorPointNo,OffsetEast,OffsetNorth,OffsetElevation)\n"
      "1,2,10,-5,1;\n2,13,0,0,0;\n3,77,0,0,0;\nEND BOX_ON_POINT\nEND BOXES\nEND TEXT\n"
      "POINTS (PointNo,East,North)\n"
      "ANNOTATIONS (PointNo,PointID,Annotation)\n4,,\"4\";\n,\"B\",\"B\";\n77,,\"?\";\n"
      "END ANNOTATIONS\nEND POINTS\nEND DATABASE\n");
  EXPECT_EQ(located.places(TVO_RECORD_BOX_ON_POINT), "0: 6.096 -1.524 0.914\n-\n-\n");
  EXPECT_EQ(located.places(TVO_RECORD_POINT_ANNOTATIONS), "0: 0 3.048 1.219\n0: 9.144 0\n-\n");
}

TEST(Geometry, ObservationsLeadFromTheLastSetup) {
  const Located located(
      header("ANGULAR DEGS") + "DATABASE\n" + kSquares +
      "END DATABASE\nTHEODOLITE\n"
      "SLOPE (TgtNo,Hz)\n2,10;\nEND SLOPE\n"
      "SETUP\nSTN_NO 1\nINST_HT 1.5\nEND SETUP\n"
      "SLOPE (TgtNo,Hz,Vz,SDist,RefHt,Ori)\n2,270,300,10,0.5,9;\n77,350,90,20,,;\nEND SLOPE\n"
      "SETUP\nSTN_ID \"A\"\nEND SETUP\n"
      "SLOPE (TgtID,Hz)\n\"B\",-9;\nEND SLOPE\nEND THEODOLITE\n");
  EXPECT_EQ(located.places(TVO_RECORD_SETUP), "0: 0 0 1\n0: 20 0\n");
  EXPECT_EQ(located.shapes(TVO_RECORD_SLOPE), "1 0: (0 0 1, 10 0 2)\n3 0: (20 0, 30 0)\n");
  std::string all;
  for (const tavo_observation& o : located.geometry.observations()) {
    all += o.setup == kNowhere ? "-" : std::to_string(o.setup);
    for (const double value : {o.hz, o.vz, o.ori, o.distance, o.instrument_height, o.target_height,
                               o.red_hz, o.red_vz, o.red_distance, o.red_height}) {
      all += " " + (std::isnan(value) ? "." : textOf(value));
    }
    all += "\n";
  }
  EXPECT_EQ(all,
            "- 11.111 . . . . . 11.111 . . .\n"
            "0 300 333.333 10 10 1.5 0.5 100 66.667 8.66 6\n"
            "0 388.889 100 . 20 1.5 . 388.889 100 20 .\n"
            "1 -10 . . . . . 390 . . .\n");
}

// The surveys that show the format: one for each kind of projection, with places given both by grid
// coordinates and by longitude and latitude, as published with two or three decimals.
TEST(Geometry, Examples) {
  for (const char* const name :
       {"utm", "lambert", "lambert-with-scale", "mercator", "mercator-2", "oblique-mercator", "rso",
        "double-stereographic", "polar-stereographic", "cassini-soldner", "special", "plane"}) {
    const Located located(
        readFile((std::string(TAVO_EXAMPLES_DIR "/projections/") + name + ".tvo").c_str()));
    EXPECT_EQ(located.said().find("warning"), std::string::npos) << located.said();
    const auto places = located.geometry.positions(TVO_RECORD_POINTS);
    ASSERT_GT(places.size(), 1u) << name;
    for (const tavo_crs& crs : located.geometry.crs()) EXPECT_STRNE(crs.wkt, "") << name;
    for (size_t i = 0; i + 1 < places.size() && name != std::string("plane"); i += 2) {
      EXPECT_EQ(places[i].crs, places[i + 1].crs) << name << i;
      EXPECT_LT(std::hypot(places[i].x - places[i + 1].x, places[i].y - places[i + 1].y), 0.07)
          << name << i << " " << textOf(places[i]) << " " << textOf(places[i + 1]);
    }
  }
  for (const char* const name : {"survey", "all-sections"}) {
    const Located located(readFile((std::string(TAVO_EXAMPLES_DIR "/") + name + ".tvo").c_str()));
    EXPECT_EQ(located.said().find("warning"), std::string::npos) << located.said();
    for (const tavo_position& at : located.geometry.positions(TVO_RECORD_POINTS)) {
      EXPECT_LT(std::hypot(at.x - 419500, at.y - 5309900), 2000) << name << " " << textOf(at);
    }
  }
}

TEST(Geometry, ThroughTheHandle) {
  const Surveyed surveyed(
      std::string(kSets) +
      "DATABASE\nPOINTS (PointNo,East,North,PrjSetNo)\n1,1,2,1;\n2,3,4,1;\nEND POINTS\n"
      "LINES (LineNo)\n1;\nEDGES (LineNo,StartPt,EndPt)\n1,1,2;\nEND EDGES\nEND LINES\n"
      "END DATABASE\nTHEODOLITE\nSLOPE (TgtNo)\n1;\nEND SLOPE\nEND THEODOLITE\n");
  tavo_geometry_options options = TAVO_GEOMETRY_OPTIONS_INIT;
  tavo_geometry* geometry = nullptr;
  ASSERT_EQ(tavo_geometry_create(&geometry, surveyed.handle(), &options), TAVO_OK);
  size_t count = 0;
  EXPECT_EQ(tavo_geometry_positions(geometry, TVO_RECORD_POINTS, &count)[1].x, 3);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(tavo_geometry_positions(geometry, TVO_RECORD_LINES, &count), nullptr);
  EXPECT_EQ(tavo_geometry_observations(geometry, &count)->setup, SIZE_MAX);
  tavo_shape shape;
  EXPECT_EQ(tavo_geometry_shape_count(geometry, TVO_RECORD_LINES), 1u);
  ASSERT_EQ(tavo_geometry_shape(geometry, TVO_RECORD_LINES, 0, &shape), 1);
  EXPECT_EQ(textOf(shape), "0 0: (1 2, 3 4)");
  EXPECT_EQ(tavo_geometry_shape(geometry, TVO_RECORD_LINES, 1, &shape), 0);
  EXPECT_EQ(tavo_geometry_shape(geometry, 9999, 0, &shape), 0);
  EXPECT_EQ(tavo_geometry_crs_count(geometry), 1u);
  EXPECT_STREQ(tavo_geometry_crs(geometry, 0)->wkt, tavo_crs_wkt(geometry, 1));
  EXPECT_EQ(tavo_geometry_crs(geometry, 1), nullptr);
  EXPECT_EQ(std::string(tavo_crs_wkt(geometry, 2)).substr(0, 7), "ENGCRS[");
  EXPECT_STREQ(tavo_crs_wkt(geometry, 4), "");
  EXPECT_EQ(tavo_crs_wkt(geometry, 65537), nullptr);
  ASSERT_EQ(tavo_geometry_finding_count(geometry), 5u);
  EXPECT_EQ(tavo_geometry_finding_at(geometry, 0)->record_type, 89u);
  EXPECT_EQ(tavo_geometry_finding_at(geometry, 5), nullptr);
  tavo_geometry_free(geometry);

  options.hotine_origin = 3;
  EXPECT_EQ(tavo_geometry_create(&geometry, surveyed.handle(), &options), TAVO_ERR_ARGUMENT);
  EXPECT_EQ(geometry, nullptr);
  EXPECT_EQ(tavo_geometry_create(&geometry, nullptr, nullptr), TAVO_ERR_ARGUMENT);
  EXPECT_EQ(tavo_geometry_create(nullptr, surveyed.handle(), nullptr), TAVO_ERR_ARGUMENT);
  EXPECT_EQ(tavo_geometry_crs_count(nullptr), 0u);
  EXPECT_EQ(tavo_geometry_finding_count(nullptr), 0u);
  tavo_geometry_free(nullptr);
}

TEST(Geometry, AnEmptySurveyHasNone) {
  const Located located("");
  EXPECT_EQ(located.said(), "");
  EXPECT_TRUE(located.geometry.crs().empty());
  EXPECT_EQ(located.geometry.shapes(TVO_RECORD_POINTS), nullptr);
  EXPECT_TRUE(located.geometry.positions(TVO_RECORD_LINES).empty());
}

}  // namespace
}  // namespace tavo::tests
