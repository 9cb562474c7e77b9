// The one table of what is explained. The words and meanings of the library's own numbers stand in
// the format's messages; here is what brings them about, wrong and right.
#include "topics.h"

#include <cctype>
#include <charconv>
#include <vector>

#include "tavo/survey.h"

namespace tavo::tool {

namespace {

// Surveys with a place for an example.
constexpr char kWhole[] = "@\n";
constexpr char kHeader[] = "HEADER\n  UNITS\n@\n  END UNITS\nEND HEADER\n";
constexpr char kJobs[] = "DATABASE\n  JOBS (JobNo,Name)\n@\n  END JOBS\nEND DATABASE\n";
constexpr char kDatabase[] = "DATABASE\n@\nEND DATABASE\n";
constexpr char kPoints[] =
    "DATABASE\n"
    "  POINTS (PointNo,PointID,East,North)\n"
    "@\n"
    "  END POINTS\n"
    "END DATABASE\n";
constexpr char kPointExtra[] =
    "DATABASE\n"
    "  POINTS (PointNo,East,North)\n"
    "    1,1000.0,2000.0;\n"
    "    EXTRAINFO (PointNo,Code)\n"
    "@\n"
    "    END EXTRAINFO\n"
    "  END POINTS\n"
    "END DATABASE\n";
constexpr char kLineExtra[] =
    "DATABASE\n"
    "  LINES (LineNo)\n"
    "    1;\n"
    "    EXTRAINFO (LineNo,Code)\n"
    "@\n"
    "    END EXTRAINFO\n"
    "  END LINES\n"
    "END DATABASE\n";
constexpr char kPolygonExtra[] =
    "DATABASE\n"
    "  POLYGONS (PolygonNo)\n"
    "    1;\n"
    "    EXTRAINFO (PolygonNo,Code)\n"
    "@\n"
    "    END EXTRAINFO\n"
    "  END POLYGONS\n"
    "END DATABASE\n";
constexpr char kOperations[] =
    "OPERATIONS\n"
    "@\n"
    "END OPERATIONS\n";

constexpr char kCoded[] =
    "DEFINITIONS\n"
    "  LAYERS (LayerNo,Name)\n"
    "    10,\"Roads\";\n"
    "  END LAYERS\n"
    "  CODELIST\n"
    "    CODES (CodeNo,Code)\n"
    "      20,\"TREE\";\n"
    "    END CODES\n"
    "  END CODELIST\n"
    "END DEFINITIONS\n"
    "DATABASE\n"
    "  JOBS (JobNo)\n"
    "    3;\n"
    "  END JOBS\n"
    "  POINTS (PointNo,JobNo,CodeNo,LayerNo)\n"
    "@\n"
    "  END POINTS\n"
    "END DATABASE\n";
constexpr char kDefinedPoints[] =
    "DEFINITIONS\n"
    "  ELLIPSOIDS (EllipsoidNo,Name,A,F)\n"
    "    1,\"GRS 1980\",6378137.0,298.257222101;\n"
    "  END ELLIPSOIDS\n"
    "  MAPPRJ_PARAMS\n"
    "    UTM (MapPrjNo,MinLat,MaxLat,MinLong,MaxLong,ZoneNo,HEMISPHERE)\n"
    "      1,0.0,84.0,6.0,12.0,32,NORTH;\n"
    "    END UTM\n"
    "  END MAPPRJ_PARAMS\n"
    "  PROJECTION_SETS (PrjSetNo,EllipsoidNo,MapPrjNo)\n"
    "    1,1,1;\n"
    "  END PROJECTION_SETS\n"
    "END DEFINITIONS\n"
    "DATABASE\n"
    "  POINTS (PointNo,PrjSetNo,East,North)\n"
    "@\n"
    "  END POINTS\n"
    "END DATABASE\n";
constexpr char kLine[] =
    "DATABASE\n"
    "  POINTS (PointNo,East,North)\n"
    "    1,0.0,0.0;\n"
    "    2,10.0,0.0;\n"
    "    3,10.0,10.0;\n"
    "    4,0.0,10.0;\n"
    "    5,,;\n"
    "  END POINTS\n"
    "  LINES (LineNo)\n"
    "    7;\n"
    "    EDGES (LineNo,StartPt,EndPt)\n"
    "      7,1,2;\n"
    "@\n"
    "    END EDGES\n"
    "  END LINES\n"
    "END DATABASE\n";
constexpr char kPolygon[] =
    "DATABASE\n"
    "  POINTS (PointNo,East,North)\n"
    "    1,0.0,0.0;\n"
    "    2,10.0,0.0;\n"
    "    3,10.0,10.0;\n"
    "    4,0.0,10.0;\n"
    "  END POINTS\n"
    "  POLYGONS (PolygonNo)\n"
    "    7;\n"
    "    EDGES (PolygonNo,StartPt,EndPt)\n"
    "@\n"
    "    END EDGES\n"
    "  END POLYGONS\n"
    "END DATABASE\n";
constexpr char kTwoSets[] =
    "DEFINITIONS\n"
    "  PROJECTION_SETS (PrjSetNo)\n"
    "    1;\n"
    "    2;\n"
    "  END PROJECTION_SETS\n"
    "END DEFINITIONS\n"
    "DATABASE\n"
    "  POINTS (PointNo,PrjSetNo,East,North)\n"
    "    1,1,0.0,0.0;\n"
    "@\n"
    "  END POINTS\n"
    "  LINES (LineNo)\n"
    "    7;\n"
    "    EDGES (LineNo,StartPt,EndPt)\n"
    "      7,1,2;\n"
    "    END EDGES\n"
    "  END LINES\n"
    "END DATABASE\n";
constexpr char kAttributes[] =
    "DEFINITIONS\n"
    "  CHOICELIST (ListNo,Element)\n"
    "    1,\"concrete\";\n"
    "    1,\"steel\";\n"
    "  END CHOICELIST\n"
    "  CODELIST\n"
    "    CODES (CodeNo,Code)\n"
    "      20,\"MAST\";\n"
    "    END CODES\n"
    "    ATTRIBUTES (Attribute,DATATYPE,CodeNo,ListNo,MANDATORY,RangeLow,RangeHigh)\n"
    "      \"Height\",REAL,20,0,YES,0.5,40.0;\n"
    "      \"Material\",TEXT,20,1,NO,0,0;\n"
    "    END ATTRIBUTES\n"
    "  END CODELIST\n"
    "END DEFINITIONS\n"
    "DATABASE\n"
    "  POINTS (PointNo,CodeNo)\n"
    "    1,20;\n"
    "    THEMINFO (PointNo,Attribute,Value)\n"
    "@\n"
    "    END THEMINFO\n"
    "  END POINTS\n"
    "END DATABASE\n";
constexpr char kTheodolite[] =
    "DATABASE\n"
    "  POINTS (PointNo,PointID)\n"
    "    1,\"S1\";\n"
    "    2,\"T2\";\n"
    "  END POINTS\n"
    "END DATABASE\n"
    "THEODOLITE\n"
    "  INSTRUMENTS (Name)\n"
    "    \"TS-1\";\n"
    "  END INSTRUMENTS\n"
    "  CONFIGS (CfgNo,InstrName)\n"
    "@\n"
    "  END CONFIGS\n"
    "END THEODOLITE\n";
constexpr char kSlopes[] =
    "HEADER\n"
    "  UNITS\n"
    "    ANGULAR GRADS\n"
    "  END UNITS\n"
    "END HEADER\n"
    "DATABASE\n"
    "  POINTS (PointNo,PointID)\n"
    "    1,\"S1\";\n"
    "    2,\"T2\";\n"
    "  END POINTS\n"
    "END DATABASE\n"
    "THEODOLITE\n"
    "  CONFIGS (CfgNo)\n"
    "    1;\n"
    "    APRIORI_ERRORS (CfgNo,Hz,Vz,SDist)\n"
    "      1,0.0005,0.0005,0.002;\n"
    "    END APRIORI_ERRORS\n"
    "  END CONFIGS\n"
    "  SETUP\n"
    "    STN_NO 1\n"
    "  END SETUP\n"
    "  SLOPE (TgtNo,TgtID,Hz,Vz,SDist,CfgNo)\n"
    "@\n"
    "  END SLOPE\n"
    "END THEODOLITE\n";
constexpr char kText[] =
    "DATABASE\n"
    "  POINTS (PointNo,East,North)\n"
    "    1,1000.0,2000.0;\n"
    "  END POINTS\n"
    "  TEXT\n"
    "    PROPERTIES (TextPropertyNo)\n"
    "      1;\n"
    "    END PROPERTIES\n"
    "    BOXES\n"
    "      BOX_ON_POINT (TextBoxNo,AnchorPointNo)\n"
    "        1,1;\n"
    "      END BOX_ON_POINT\n"
    "    END BOXES\n"
    "    ITEMS (TextItemNo,TextBoxNo,TextPropertyNo,TextItem)\n"
    "@\n"
    "    END ITEMS\n"
    "  END TEXT\n"
    "END DATABASE\n";
constexpr char kDated[] =
    "HEADER\n"
    "  UNITS\n"
    "    TIME DMY\n"
    "  END UNITS\n"
    "END HEADER\n"
    "DATABASE\n"
    "  JOBS (JobNo,Date)\n"
    "@\n"
    "  END JOBS\n"
    "END DATABASE\n";

constexpr auto kWarn = TAVO_WARNING;
constexpr auto kNote = TAVO_NOTE;
constexpr auto kError = TAVO_ERROR;

constexpr Topic kTopics[] = {
    {'E', 2000, kError, "", "", "A long description or comment in a line of many columns.", kJobs,
     "    1,\"North\"; ........................................ a comment that makes this line"
     " .................... far too long for the format",
     "    1,\"North\"; a comment that leaves the line short enough"},
    {'E', 2001, kError, "", "", "Names from a database that has more room for them.", kPoints,
     "    1,\"A name of more than sixteen characters\",1000.0,2000.0;",
     "    1,\"A name that fits\",1000.0,2000.0;"},
    {'E', 2010, kError, "", "", "A block that was written by hand after the model of HEADER.",
     kDatabase, "  JOBS\n    1;\n  END JOBS", "  JOBS (JobNo)\n    1;\n  END JOBS"},
    {'E', 2011, kError, "", "", "A bracket lost when columns were added or removed.", kDatabase,
     "  JOBS (JobNo,Name\n  END JOBS", "  JOBS (JobNo,Name)\n  END JOBS"},
    {'E', 2012, kError, "", "", "A file cut off in transfer, or blocks joined by hand.", kDatabase,
     "  JOBS (JobNo)\n    1;\n  POINTS (PointNo)\n    1;\n  END POINTS",
     "  JOBS (JobNo)\n    1;\n  END JOBS\n  POINTS (PointNo)\n    1;\n  END POINTS"},
    {'E', 2050, kError, "", "", "The word of another item: GRADS is a unit of angles.", kHeader,
     "    LINEAR GRADS", "    LINEAR METRE"},
    {'E', 2051, kError, "", "",
     "A column added to the list and not to the lines, or a comma as decimal point.", kJobs,
     "    1;", "    1,\"North\";"},
    {'E', 2100, kError, "", "", "The point was removed or renumbered, its EXTRAINFO was not.",
     kPointExtra, "      9,\"TREE\";", "      1,\"TREE\";"},
    {'E', 2101, kError, "", "", "The line was removed or renumbered, its EXTRAINFO was not.",
     kLineExtra, "      9,\"ROAD\";", "      1,\"ROAD\";"},
    {'E', 2102, kError, "", "", "A misspelt operation, or a points line too many.", kOperations,
     "  CIRCLE\n    1,\"P1\",2,\"P2\";", "  CIRCLE_DIAM\n    1,\"P1\",2,\"P2\";"},
    {'E', 2103, kError, "", "", "The polygon was removed or renumbered, its EXTRAINFO was not.",
     kPolygonExtra, "      9,\"FIELD\";", "      1,\"FIELD\";"},
    {'E', 2104, kError, "", "", "A block of DATABASE that stands at the top or in DEFINITIONS.",
     kWhole, "DEFINITIONS\n  JOBS (JobNo)\n    1;\n  END JOBS\nEND DEFINITIONS",
     "DATABASE\n  JOBS (JobNo)\n    1;\n  END JOBS\nEND DATABASE"},
    {'E', 2105, kError, "", "", "It is never reported; the number is kept for hosts that know it.",
     "", "", ""},
    {'E', 2150, kError, "", "", "A block copied with the END line of another one.", kDatabase,
     "  JOBS (JobNo)\n    1;\n  END POINTS\n  END JOBS", "  JOBS (JobNo)\n    1;\n  END JOBS"},
    {'E', 2500, kError, "", "", "A letter in a number, a text without quotes, an empty key.", kJobs,
     "    l,\"North\";", "    1,\"North\";"},
    {'N', 7000, kNote, "lines ignored", "", "It stands behind the finding that it belongs to.",
     kDatabase, "  SHAPES\n    1;\n  END SHAPES", "  JOBS (JobNo)\n    1;\n  END JOBS"},
    {'N', 7001, kNote, "", "", "Numbers of a system that counts further than the field.", kJobs,
     "    65537,\"North\";", "    6537,\"North\";"},
    {'N', 7002, kNote, "", "", "Coordinates printed with all digits of a calculation.", kPoints,
     "    1,\"A\",1000.12345678901234567,2000.0;", "    1,\"A\",1000.1235,2000.0;"},
    {'W', 7010, kWarn, "", "", "An item of a later version, or a misspelt one.", kHeader,
     "    COLOUR BLUE\n    LINEAR METRE", "    LINEAR METRE"},
    {'W', 7011, kWarn, "", "", "A section of another program, or a misspelt keyword.", kDatabase,
     "  SHAPES\n    1;\n  END SHAPES", "  JOBS (JobNo)\n    1;\n  END JOBS"},
    {'W', 7012, kWarn, "", "", "A column of a later version, or a misspelt one.", kDatabase,
     "  JOBS (JobNo,Weather)\n    1,\"sunny\";\n  END JOBS",
     "  JOBS (JobNo,Name)\n    1,\"sunny\";\n  END JOBS"},
    {'W', 7013, kWarn, "", "", "It is never reported; the number is kept for hosts that know it.",
     "", "", ""},
    {'W', 7014, kWarn, "", "", "A word of another language or version.", kHeader,
     "    ANGULAR DEGREES", "    ANGULAR DEGS"},

    // Keys and references, by the key columns of the format's tables.
    {'T', 101, kWarn, "doubled number",
     "The key of the record was given before. Whatever refers to it means the first one.",
     "Two field books with the same numbers in one file.", kPoints,
     "    1,\"A\",1000.0,2000.0;\n    1,\"B\",1010.0,2000.0;",
     "    1,\"A\",1000.0,2000.0;\n    2,\"B\",1010.0,2000.0;"},
    {'T', 102, kWarn, "doubled identifier",
     "Another record of the block has the same identifier. Lookups by it find the first one.",
     "A point measured twice under its name, or a name that was not counted on.", kPoints,
     "    1,\"A\",1000.0,2000.0;\n    2,\"A\",1010.0,2000.0;",
     "    1,\"A\",1000.0,2000.0;\n    2,\"B\",1010.0,2000.0;"},
    {'T', 103, kWarn, "unknown point", "The record names a point that the file does not have.",
     "The point was deleted or renumbered, or is in another file.", kLine, "      7,2,99;",
     "      7,2,3;"},
    {'T', 104, kWarn, "unknown line or polygon",
     "The record names a line or polygon that the file does not have.",
     "The line was deleted, its edges were not.", kLine, "      8,2,3;", "      7,2,3;"},
    {'T', 105, kWarn, "unknown layer or subject",
     "The record names a layer or subject that DEFINITIONS does not have.",
     "Layers were renumbered in the project, not in the field book.", kCoded, "    1,3,20,11;",
     "    1,3,20,10;"},
    {'T', 106, kWarn, "unknown code",
     "The record names a code that is in none of the file's code lists.",
     "Another code list than that of the field work was exported.", kCoded, "    1,3,21,10;",
     "    1,3,20,10;"},
    {'T', 107, kWarn, "unknown job", "The record names a job that the file does not have.",
     "Only some of the jobs were exported.", kCoded, "    1,4,20,10;", "    1,3,20,10;"},
    {'T', 108, kWarn, "unknown projection",
     "The record names a projection set, map projection, ellipsoid or transformation that "
     "DEFINITIONS does not have, so that its reference system is not known.",
     "Parameters left out since the receiver was to have them.", kDefinedPoints,
     "    1,2,500000.0,5300000.0;", "    1,1,500000.0,5300000.0;"},
    {'T', 109, kWarn, "unknown instrument",
     "A configuration names an instrument that INSTRUMENTS does not have.",
     "The instrument was renamed after the configuration was saved.", kTheodolite,
     "    1,\"TS-2\";", "    1,\"TS-1\";"},
    {'T', 110, kWarn, "unknown configuration",
     "The record names a configuration that CONFIGS does not have, so that its instrument errors "
     "are not known.",
     "Configurations deleted in the instrument after the measurement.", kSlopes,
     "    2,\"T2\",10.0,100.0,50.0,9;", "    2,\"T2\",10.0,100.0,50.0,1;"},
    {'T', 111, kWarn, "unknown text box, property or list",
     "The record names a text box, a text property or a choice list that the file does not have.",
     "A box was deleted, its items were not.", kText, "      1,4,1,\"Mill Lane\";",
     "      1,1,1,\"Mill Lane\";"},
    {'T', 112, kNote, "unknown station or target",
     "A setup, slope or weather record names a point that the file does not have. That is so in "
     "raw field data, whose points are still to be computed.",
     "A station number misread in the field.", kSlopes, "    9,\"\",10.0,100.0,50.0,1;",
     "    2,\"\",10.0,100.0,50.0,1;"},
    {'T', 113, kWarn, "number and identifier disagree",
     "The record names a point, line, polygon or code by a number and by an identifier that belong "
     "to different records. The number holds.",
     "Points renumbered without their references.", kSlopes, "    2,\"S1\",10.0,100.0,50.0,1;",
     "    2,\"T2\",10.0,100.0,50.0,1;"},
    {'T', 114, kNote, "no definitions",
     "Records name things of a kind (codes, layers, jobs ...) of which the file defines none at "
     "all. Told once for each kind.",
     "Definitions left out since the receiver has them.",
     "DATABASE\n  POINTS (PointNo,JobNo)\n@\n  END POINTS\nEND DATABASE\n", "    1,3;", "    1,0;"},

    // Lines and polygons.
    {'T', 121, kWarn, "gap in a line",
     "An edge does not begin where the one before it ends, so a further part of the line begins.",
     "An edge was deleted, or the order of edges was changed.", kLine, "      7,3,4;",
     "      7,2,3;"},
    {'T', 122, kWarn, "zero edge",
     "An edge leads from a point to itself, or to one at the same place.",
     "A point measured twice in a row.", kLine, "      7,2,2;", "      7,2,3;"},
    {'T', 123, kWarn, "open ring",
     "The edges of a polygon do not come back to their start, or enclose nothing. It is no "
     "polygon then.",
     "The last edge was not recorded.", kPolygon, "      7,1,2;\n      7,2,3;\n      7,3,4;",
     "      7,1,2;\n      7,2,3;\n      7,3,4;\n      7,4,1;"},
    {'T', 124, kWarn, "self-crossing ring",
     "The boundary of a polygon crosses or touches itself, so that its area means nothing.",
     "Corners measured in another order than round the parcel.", kPolygon,
     "      7,1,3;\n      7,3,2;\n      7,2,4;\n      7,4,1;",
     "      7,1,2;\n      7,2,3;\n      7,3,4;\n      7,4,1;"},
    {'T', 125, kWarn, "edge without coordinates",
     "An edge leads to a point that has no coordinates, so it cannot be drawn.",
     "A point still to be computed.", kLine, "      7,2,5;", "      7,2,3;"},
    {'T', 126, kWarn, "several reference systems",
     "What belongs together, the ends of an edge or station and target, lies in different "
     "reference systems.",
     "Points of two projection sets joined.", kTwoSets, "    2,2,10.0,0.0;", "    2,1,10.0,0.0;"},
    {'T', 127, kWarn, "no place or reference system",
     "A point cannot be placed, or a projection set makes no reference system; the text says why.",
     "Latitude and longitude exchanged, a parameter of the projection missing.",
     "HEADER\n  UNITS\n    GEOCRD DEGS\n  END UNITS\nEND HEADER\n"
     "DATABASE\n  POINTS (PointNo,Latitude,Longitude)\n@\n  END POINTS\nEND DATABASE\n",
     "    1,147.5,8.5;", "    1,47.5,8.5;"},
    {'T', 128, kOff, "how geometry was taken",
     "Remarks on how places and systems were made of the records: arcs drawn as chords, "
     "parameters taken by default, transformations not applied.",
     "None is a fault, so there is no wrong example; switch the rule on to see them.", "", "", ""},

    // Attributes.
    {'T', 131, kNote, "unknown attribute",
     "The code of the point, line or polygon has ATTRIBUTES, and this one is not among them.",
     "A misspelt attribute, or an older code list.", kAttributes,
     "      1,\"Height\",4.5;\n      1,\"Hight\",4.5;", "      1,\"Height\",4.5;"},
    {'T', 132, kWarn, "wrong type of attribute",
     "The value is not of the DATATYPE that the code's ATTRIBUTES ask for. A whole number may "
     "stand for a real.",
     "A number in quotes.", kAttributes, "      1,\"Height\",\"4.5\";", "      1,\"Height\",4.5;"},
    {'T', 133, kWarn, "attribute out of range",
     "The value is below RangeLow or above RangeHigh of its attribute. A range of 0 to 0 is none.",
     "A value in centimetres instead of metres.", kAttributes, "      1,\"Height\",450.0;",
     "      1,\"Height\",4.5;"},
    {'T', 134, kWarn, "attribute not in its list",
     "The text is none of the elements of the attribute's choice list.",
     "Another spelling, or a list that was shortened.", kAttributes,
     "      1,\"Height\",4.5;\n      1,\"Material\",\"wood\";",
     "      1,\"Height\",4.5;\n      1,\"Material\",\"steel\";"},
    {'T', 135, kWarn, "attribute missing",
     "The code of the point, line or polygon has a mandatory attribute for which there is no "
     "value.",
     "The attribute was made mandatory after the field work.", kAttributes,
     "      1,\"Material\",\"steel\";", "      1,\"Height\",4.5;"},

    // Values.
    {'T', 141, kWarn, "value lost bits",
     "A whole number does not fit its field, so that another number was read. It is N7001, here "
     "as a rule that can be switched.",
     "Numbers of a system that counts further than the field.", kJobs, "    65537,\"North\";",
     "    6537,\"North\";"},
    {'T', 142, kNote, "digits lost",
     "A real number has more digits than its field keeps. It is N7002, here as a rule that can be "
     "switched; told for the first such value, the rest is counted.",
     "Coordinates printed with all digits of a calculation.", kPoints,
     "    1,\"A\",1000.12345678901234567,2000.0;", "    1,\"A\",1000.1235,2000.0;"},
    {'T', 143, kWarn, "impossible date", "The value is a date or time that no calendar has.",
     "Day and month exchanged, or another date order in the HEADER.", kDated,
     "    1,30-02-2024/10:00:00.0;", "    1,28-02-2024/10:00:00.0;"},
    {'T', 151, kWarn, "outside the projection's limits",
     "The point lies outside MinLat, MaxLat, MinLong and MaxLong of its own map projection.",
     "Another zone, or East and North exchanged.", kDefinedPoints, "    1,1,5300000.0,500000.0;",
     "    1,1,500000.0,5300000.0;"},
    {'T', 152, kWarn, "outlier",
     "The point is farther from the middle (median) of all points of its system than 20 times the "
     "median distance from there.",
     "A digit too many or too few, or coordinates of another system.", kPoints,
     "    1,\"A\",1000.0,2000.0;\n    2,\"B\",1010.0,2000.0;\n    3,\"C\",1000.0,2010.0;\n"
     "    4,\"D\",1010.0,2010.0;\n    5,\"E\",10100.0,2010.0;",
     "    1,\"A\",1000.0,2000.0;\n    2,\"B\",1010.0,2000.0;\n    3,\"C\",1000.0,2010.0;\n"
     "    4,\"D\",1010.0,2010.0;\n    5,\"E\",1010.0,2020.0;"},

    // Observations.
    {'T', 161, kWarn, "slope without setup",
     "No SETUP stands in front of the observation, so nobody knows where it was made.",
     "The setup was recorded afterwards, or got lost.", "THEODOLITE\n@\nEND THEODOLITE\n",
     "  SLOPE (TgtNo,Hz)\n    2,10.0;\n  END SLOPE\n  SETUP\n    STN_NO 1\n  END SETUP",
     "  SETUP\n    STN_NO 1\n  END SETUP\n  SLOPE (TgtNo,Hz)\n    2,10.0;\n  END SLOPE"},
    {'T', 162, kWarn, "two faces differ",
     "The observations of a target in both faces differ by more than three times the a-priori "
     "error of such a difference, which is 1.41 times that of one observation of the "
     "configuration. Directions are compared by half a turn, zenith angles by their sum.",
     "The wrong target aimed at, an instrument out of adjustment, a prism moved.", kSlopes,
     "    2,\"T2\",10.0,100.0,50.0,1;\n    2,\"T2\",210.05,300.0,50.0,1;",
     "    2,\"T2\",10.0,100.0,50.0,1;\n    2,\"T2\",210.0005,300.0,50.0,1;"},

    {'T', 171, kNote, "unused definition", "Nothing in the file refers to the definition.",
     "A whole code list or set of parameters exported with a small survey.", kCoded,
     "    1,0,20,10;", "    1,3,20,10;"},
};

// Words and meanings of the library's numbers come from the format's own table.
std::vector<Topic> complete() {
  std::vector<Topic> all(std::begin(kTopics), std::end(kTopics));
  for (Topic& topic : all) {
    if (topic.letter == 'T') continue;
    const tavo_schema_message* const message = tavo_schema_message_of(topic.number);
    if (message == nullptr) continue;
    if (*topic.name == '\0') topic.name = message->text;
    topic.meaning = message->explanation;
  }
  return all;
}

}  // namespace

std::span<const Topic> topics() {
  static const std::vector<Topic> all = complete();
  return all;
}

std::string Topic::survey(const char* lines) const {
  std::string text = frame;
  const size_t mark = text.find('@');
  if (mark != text.npos) text.replace(mark, 1, lines);
  return text;
}

const Topic* topicOf(char letter, uint32_t number) {
  for (const Topic& topic : topics()) {
    if (topic.letter == letter && topic.number == number) return &topic;
  }
  return nullptr;
}

const Topic* findTopic(std::string_view word) {
  const auto first = static_cast<unsigned char>(word.empty() ? '\0' : word.front());
  const char letter = std::isalpha(first) != 0 ? static_cast<char>(std::toupper(first)) : '\0';
  if (letter != '\0') word.remove_prefix(1);
  uint32_t number = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  if (error != std::errc() || end != word.data() + word.size()) return nullptr;
  for (const Topic& topic : topics()) {
    if (topic.number == number && (letter == '\0' || letter == topic.letter)) return &topic;
  }
  return nullptr;
}

}  // namespace tavo::tool
