// DEFINITIONS, THEODOLITE and METEO: group checks, unit conversion, the order of records.
#include <gtest/gtest.h>

#include <sstream>

#include "support/analysis.h"

namespace tavo::tests {
namespace {

// A HEADER with units; five lines.
std::string units(const std::string& items) {
  return "HEADER\nUNITS\n" + items + "\nEND UNITS\nEND HEADER\n";
}

TEST(Definitions, CodeListDeliversItsOwnPairLast) {
  const std::string codes = "CODES (CodeNo,OBJTYPE)\n1,POINT;\nEND CODES\n";
  const std::string records = "14(CodeNo OBJTYPE)\n21 CodeNo=1 OBJTYPE=POINT\n";
  expectAll({
      {"items around blocks",
       inBlock("DEFINITIONS", "CODELIST",
               "NAME \"n\"\n" + codes +
                   "AUTHOR \"a\"\nDATE 01-02-2003/04:05:06.07\nTEMPLATE_ID 5;\nVERSION 1\nEND FOO\n"
                   "ATTRIBUTES (ListNo)\n2;\nEND ATTRIBUTES\n"),
       "10 W7010 VERSION\n",
       records + "15(ListNo)\n22 ListNo=2\n13(NAME AUTHOR DATE TEMPLATE_ID)\n"
                 "20 NAME=\"n\" AUTHOR=\"a\" DATE=2003-02-01/04:05:06.07 TEMPLATE_ID=5\n"},
      {"codes alone", inBlock("DEFINITIONS", "CODELIST", codes), "", records},
      {"END of another, and a keyword",
       "DEFINITIONS\nCODELIST\nNAME \"n\"\nEND CODES\nLAYERS (LayerNo)\n"
       "1;\nEND LAYERS\nEND CODELIST\nEND DEFINITIONS\n",
       "4 E2150 END CODES\n5 E2104 LAYERS\nnote lines 5 - 7 will be ignored\n",
       "13(NAME)\n20 NAME=\"n\"\n"},
      {"END of an unknown word is data in CODES",
       inBlock("DEFINITIONS", "CODELIST", "CODES (OBJTYPE)\nEND FOO;\nEND CODES\n"),
       "4 W7014 END\n", "14(OBJTYPE)\n21 OBJTYPE=UNKNOWN\n"},
  });
}

TEST(Definitions, EnumerationGroups) {
  const struct {
    const char* section;
    const char* block;
    const char* field;
    const char* good;  // first, last
    const char* bad;   // the neighbours in the table of words
  } rows[] = {
      {"CODELIST", "CODES", "OBJTYPE", "POINT TIME", "INT EST"},
      {"CODELIST", "ATTRIBUTES", "DATATYPE", "TEXT INT", "YMD POINT"},
      {"CODELIST", "ATTRIBUTES", "MANDATORY", "YES NO", "FIX NOTE1"},
      {"CODELIST", "ATTRIBUTES", "HIDDEN", "YES NO", "FIX NOTE1"},
      {"CODELIST", "ATTRIBUTES", "HIDEALWAYS", "YES NO", "FIX NOTE1"},
      {"MAPPRJ_PARAMS", "UTM", "HEMISPHERE", "NORTH SOUTH", "NO NOTE4 STANDARD"},
      {"MAPPRJ_PARAMS", "LAMBERT", "HEMISPHERE", "NORTH SOUTH", "NOTE4 STANDARD"},
      {"MAPPRJ_PARAMS", "LAMBERT_WITH_SCALE", "HEMISPHERE", "NORTH SOUTH", "NOTE4 STANDARD"},
      {"MAPPRJ_PARAMS", "MERCATOR", "HEMISPHERE", "NORTH SOUTH", "NOTE4 STANDARD"},
      {"MAPPRJ_PARAMS", "MERCATOR_2", "HEMISPHERE", "NORTH SOUTH", "NOTE4 STANDARD"},
      {"MAPPRJ_PARAMS", "OBLIQUE_MERCATOR", "HEMISPHERE", "NORTH SOUTH", "NOTE4 STANDARD"},
      {"MAPPRJ_PARAMS", "OBLIQUE_MERCATOR", "ANGLETYPE", "GAMMA_0 ALPHA_C", "ONESTEP STRAIGHT"},
      {"MAPPRJ_PARAMS", "DOUBLE_STEREOGRAPHIC", "HEMISPHERE", "NORTH SOUTH", "NOTE4 STANDARD"},
      {"MAPPRJ_PARAMS", "POLAR_STEREOGRAPHIC", "HEMISPHERE", "NORTH SOUTH", "NOTE4 STANDARD"},
      {"MAPPRJ_PARAMS", "RSO", "RECTIFYTYPE", "NORTH FIX SWISS95", ""},
      {"MAPPRJ_PARAMS", "RSO", "ANGLETYPE", "GAMMA_0 ALPHA_C", "ONESTEP STRAIGHT"},
      {"MAPPRJ_PARAMS", "RSO", "HEMISPHERE", "NORTH SOUTH", "NOTE4 STANDARD"},
      {"MAPPRJ_PARAMS", "CASSINI_SOLDNER", "HEMISPHERE", "NORTH SOUTH", "NOTE4 STANDARD"},
      {"MAPPRJ_PARAMS", "SPECIAL", "SPPRJ_TYPE", "SWISS_MILITARY SWISS95", "OFFSET"},
      {"TRANSFORM_PARAMS", "HELMERT2D", "MODEL", "BW MB", "NAD27 STRICT"},
      {"TRANSFORM_PARAMS", "HELMERT3D", "MODEL", "BW MB", "NAD27 STRICT"},
      {"", "PROJECTION_SETS", "TYPE", "STRICT ONESTEP", "MB GAMMA_0"},
  };
  for (const auto& row : rows) {
    const std::string block = row.block;
    const std::string section = row.section;
    std::string text =
        "DEFINITIONS\n" + section + "\n" + block + " (" + row.field + ")\nUNKNOWN;\n";
    std::string shown = std::string(" ") + row.field + "=UNKNOWN\n";
    std::string findings;
    int line = 4;
    for (const bool good : {true, false}) {
      std::istringstream words(good ? row.good : row.bad);
      for (std::string word; words >> word;) {
        text += word + ";\n";
        ++line;
        if (good) {
          shown += " " + std::string(row.field) + "=" + word + "\n";
        } else {
          findings += std::to_string(line) + " E2050 " + word + "\n";
        }
      }
    }
    text += "END " + block + "\n" + (section.empty() ? "" : "END " + section + "\n") +
            "END DEFINITIONS\n";
    const Analysed result = analyse(text);
    SCOPED_TRACE(block + " " + row.field);
    EXPECT_EQ(result.findings, findings);
    std::string members;  // the data records without their type
    std::istringstream records(result.records.substr(result.records.find('\n') + 1));
    for (std::string record; std::getline(records, record);) {
      members += record.substr(record.find(' ')) + "\n";
    }
    EXPECT_EQ(members, shown);
  }
}

TEST(Definitions, ProjectionTypesAreParsedButNeitherCheckedNorKept) {
  expectAnalysis("types",
                 "DEFINITIONS\nMAPPRJ_PARAMS\nLAMBERT (MapPrjNo,LAMPRJ_TYPE)\n1,FIX;\n2,FOO;\n"
                 "END LAMBERT\nMERCATOR (MapPrjNo,MERCPRJ_TYPE)\n3,NAD27;\nEND MERCATOR\n"
                 "END MAPPRJ_PARAMS\nEND DEFINITIONS\n",
                 "5 W7014 FOO\n",
                 "66(MapPrjNo LAMPRJ_TYPE)\n79 MapPrjNo=1\n79 MapPrjNo=2\n"
                 "67(MapPrjNo MERCPRJ_TYPE)\n80 MapPrjNo=3\n");
}

// MERCATOR_2 is checked against the columns of MERCATOR, on purpose.
TEST(Definitions, Mercator2TakesTheColumnsOfMercator) {
  expectAnalysis(
      "columns",
      "DEFINITIONS\nMAPPRJ_PARAMS\nMERCATOR_2 (OriginLat,MapPrjNo,Scale,ZoneWidth,MERCPRJ_TYPE,"
      "OriginLong,Phi)\n1,2,x,1,FIX,0,1;\n1,2,3,4,FIX,45,1;\nEND MERCATOR_2\n"
      "END MAPPRJ_PARAMS\nEND DEFINITIONS\n",
      "3 W7012 Phi\n4 E2500 x\n",
      "99(OriginLat MapPrjNo Scale ZoneWidth MERCPRJ_TYPE OriginLong #0)\n"
      "104 MapPrjNo=2 OriginLong=0.7853981634\n");
}

TEST(Definitions, ProjectionsAreConverted) {
  const std::string lambert = inBlock(
      "DEFINITIONS", "MAPPRJ_PARAMS",
      "LAMBERT "
      "(MinLat,MaxLat,MinLong,MaxLong,Geoid,\nFalseEast,FalseNorth,OriginLat,OriginLong,PhiNorth,"
      "PhiSouth)\n-10.3,10.3,90,90,10,\n10,10,90,90,90,90;\nEND LAMBERT\n");
  const std::string columns =
      "66(MinLat MaxLat MinLong MaxLong Geoid FalseEast FalseNorth OriginLat OriginLong PhiNorth "
      "PhiSouth)\n";
  const auto last = [](const std::string& records) { return records.substr(records.find("66(")); };
  EXPECT_EQ(last(analyse(lambert).records),
            columns +
                "79 MinLat=-0.1832595715 MaxLat=0.1832595715 MinLong=1.570796327 "
                "MaxLong=1.570796327 Geoid=10 FalseEast=10 FalseNorth=10 OriginLat=1.570796327 "
                "OriginLong=1.570796327 PhiNorth=1.570796327 PhiSouth=1.570796327\n");
  EXPECT_EQ(last(analyse(units("GEOCRD USER 0.5\nLINEAR USER 2") + lambert).records),
            columns +
                "79 MinLat=-5.15 MaxLat=5.15 MinLong=45 MaxLong=45 Geoid=20 FalseEast=20 "
                "FalseNorth=20 OriginLat=45 OriginLong=45 PhiNorth=45 PhiSouth=45\n");
  // Scales, ellipsoids and transformations are delivered as they stand.
  expectAnalysis(
      "as read",
      units("LINEAR LINKS\nGEOCRD DEGS\nANGULAR DEGS") +
          "DEFINITIONS\nELLIPSOIDS (A,F)\n6378137,298.5;\nEND ELLIPSOIDS\nMAPPRJ_PARAMS\nPLANE "
          "(Scale)\n"
          "0.9996;\nEND PLANE\nRSO (SkewAxis,Scale)\n90,2;\nEND RSO\nEND MAPPRJ_PARAMS\n"
          "TRANSFORM_PARAMS\nHELMERT2D (Xo,dX,Phi,Scale)\n1,2,3,4;\nEND HELMERT2D\n"
          "END TRANSFORM_PARAMS\nEND DEFINITIONS\n",
      "",
      "2(LINEAR GEOCRD ANGULAR)\n6 ANGULAR=DEGS LINEAR=LINKS GEOCRD=DEGS\n64(A F)\n"
      "77 A=6378137 F=298.5\n70(Scale)\n83 Scale=0.9996\n101(SkewAxis Scale)\n"
      "106 SkewAxis=1.570796327 Scale=2\n74(Xo dX Phi Scale)\n87 Xo=1 dX=2 Phi=3 Scale=4\n");
}

TEST(Theodolite, BlocksAndTheirConversions) {
  const std::string text =
      "THEODOLITE\nINSTRUMENTS (Name,TheoNo)\n\"T\",7;\nEND INSTRUMENTS\n"
      "CONFIGS (CfgNo,AddConst,Collimation,TiltAxis,Index)\n1,10,100,100,100;\n"
      "APRIORI_ERRORS (CfgNo,Hz,Vz,SDist,InstrHt,RefHt)\n1,100,100,10,10,10;\nEND APRIORI_ERRORS\n"
      "2,,,,;\nEND CONFIGS\nAPRIORI_ERRORS (CfgNo)\n3;\nEND APRIORI_ERRORS\n"
      "SETUP\nSTN_NO 5\nSTN_ID \"S\"; x\nINST_HT 10;\nDate 1;\nEND SETUP\n"
      "SLOPE "
      "(Hz,Vz,SDist,RefHt,Ppm,Ori,OffsetUp,OffsetRight,OffsetAway,\nInclinLength,InclinCross,CfgNo)"
      "\n"
      "100,100,10,10,10,100,10,10,10,100,100,9;\nEND SLOPE\nEND THEODOLITE\n"
      "METEO\nELEMENTS (WetTemp,DryTemp,AtmPress,RefCoeff)\n10,11,12,0.13;\nEND ELEMENTS\nEND "
      "METEO\n";
  const auto records = [](const std::string& angle, const std::string& length) {
    return "45(Name TheoNo)\n50 Name=\"T\" TheoNo=7\n46(CfgNo AddConst Collimation TiltAxis "
           "Index)\n"
           "51 CfgNo=1 AddConst=" +
           length + " Collimation=" + angle + " TiltAxis=" + angle + " Index=" + angle +
           "\n47(CfgNo Hz Vz SDist InstrHt RefHt)\n52 CfgNo=1 Hz=" + angle + " Vz=" + angle +
           " SDist=" + length + " InstrHt=" + length + " RefHt=" + length +
           "\n51 CfgNo=2\n47(CfgNo)\n52 CfgNo=3\n48(STN_NO STN_ID INST_HT)\n"
           "53 STN_NO=5 STN_ID=\"S\" INST_HT=" +
           length +
           "\n49(Hz Vz SDist RefHt Ppm Ori OffsetUp "
           "OffsetRight OffsetAway InclinLength InclinCross CfgNo)\n54 Hz=" +
           angle + " Vz=" + angle + " SDist=" + length + " RefHt=" + length +
           " Ppm=10 Ori=" + angle + " CfgNo=9 OffsetUp=" + length + " OffsetRight=" + length +
           " OffsetAway=" + length + " InclinLength=" + angle + " InclinCross=" + angle +
           "\n43(WetTemp DryTemp AtmPress RefCoeff)\n"
           "44 WetTemp=10 DryTemp=11 AtmPress=12 RefCoeff=0.13\n";
  };
  expectAnalysis("as declared by default", text, "19 W7010 Date\n", records("1.570796327", "10"));
  const std::string header =
      "2(ANGULAR LINEAR TEMP PRESS)\n6 ANGULAR=USER4 LINEAR=INT_FEET "
      "TEMP=FAHRENHEIT PRESS=INHG +=0.25\n";
  expectAnalysis("other units",
                 units("ANGULAR USER 0.25\nLINEAR INT_FEET\nTEMP FAHRENHEIT\nPRESS INHG") + text,
                 "27 W7010 Date\n", header + records("25", "3.048"));
}

TEST(Theodolite, EndsOfItsBlocks) {
  expectAll({
      {"a keyword in CONFIGS",
       "THEODOLITE\nCONFIGS (CfgNo)\nSETUP\nSTN_NO 1\nEND SETUP\nAPRIORI_ERRORS (CfgNo)\n"
       "1;\nSLOPE (Hz)\nEND FOO\nEND SLOPE\nEND CONFIGS\nEND THEODOLITE\n",
       "3 E2104 SETUP\nnote lines 3 - 5 will be ignored\n8 E2012 APRIORI_ERRORS\n8 E2104 SLOPE\n"
       "note lines 8 - 10 will be ignored\n",
       "46(CfgNo)\n47(CfgNo)\n52 CfgNo=1\n"},
      {"ENDs in CONFIGS",
       "THEODOLITE\nCONFIGS (CfgNo)\nEND SETUP\nEND FOO\n1;\nEND CONFIGS\nEND THEODOLITE\n",
       "3 E2150 END SETUP\n", "46(CfgNo)\n51 CfgNo=1\n"},
      {"SETUP without items, and without END",
       "THEODOLITE\nSETUP\nEND SETUP\nSETUP\nSTN_NO 1\nEND FOO\n"
       "END SLOPE\nSETUP\nSTN_NO 2\nEND SETUP\nEND THEODOLITE\n",
       "6 W7010 END\n7 E2150 END SLOPE\n8 E2012 SETUP\n",
       "48(STN_NO)\n53 STN_NO=1\n48(STN_NO)\n53 STN_NO=2\n"},
      {"METEO holds ELEMENTS only",
       "METEO\nSLOPE (Hz)\n1;\nELEMENTS (Note)\n\"n\";\nEND ELEMENTS\nEND METEO\n",
       "2 E2104 SLOPE\nnote lines 2 - 3 will be ignored\n", "43(Note)\n44 Note=\"n\"\n"},
  });
}

}  // namespace
}  // namespace tavo::tests
