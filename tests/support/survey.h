// A small survey without mistakes that has every block of the format, EXTRAINFO and continued lines
// included, for tests that need some of everything.
#pragma once

namespace tavo::tests {

inline constexpr char kSurvey[] = R"(HEADER ; everything
  VERSION 1.31
  SYSTEM "Survey \"one\"; two";
  SEPARATOR ','
  UNITS
    ANGULAR GRADS
    LINEAR USER 0.5
    TIME DMY
  END UNITS
  OFFSETS
    EAST 2000000;
  END OFFSETS
  PROJECT
    NAME "It's a project";
    CREATION_DATE 01-02-2003/04:05:06.78;
  END PROJECT
END HEADER
DEFINITIONS
  SUBJECTS (SubjectNo, Name)
    1, "Terrain";
  END SUBJECTS
  LAYERS (LayerNo, Flags)
    1, 0000 0001;
  END LAYERS
  SUBJECT_LAYER_LIST (SubjectNo, LayerNo)
    1, 1;
  END SUBJECT_LAYER_LIST
  CHOICELIST (ListNo, Element)
    1, "Oak";
  END CHOICELIST
  CODELIST
    NAME "Codes"
    CODES (CodeNo, Code, OBJTYPE)
      7, "TREE", POINT;
    END CODES
    ATTRIBUTES (Attribute, DATATYPE, Default)
      "Height", REAL, 1.5;
    END ATTRIBUTES
  END CODELIST
  ELLIPSOIDS (EllipsoidNo, A, F)
    1, 6378137, 298.257;
  END ELLIPSOIDS
  MAPPRJ_PARAMS
    UTM (MapPrjNo, MinLat, HEMISPHERE)
      1, -10.3000, NORTH;
    END UTM
    LAMBERT (MapPrjNo, LAMPRJ_TYPE)
      2, STANDARD;
    END LAMBERT
    LAMBERT_WITH_SCALE (Phi)
      45;
    END LAMBERT_WITH_SCALE
    MERCATOR (ZoneWidth)
      3;
    END MERCATOR
    MERCATOR_2 (OriginLong, Scale)
      9, 1;
    END MERCATOR_2
    OBLIQUE_MERCATOR (SkewAxis, ANGLETYPE)
      9, ALPHA_C;
    END OBLIQUE_MERCATOR
    DOUBLE_STEREOGRAPHIC (Scale)
      1;
    END DOUBLE_STEREOGRAPHIC
    POLAR_STEREOGRAPHIC (Scale)
      1;
    END POLAR_STEREOGRAPHIC
    RSO (RECTIFYTYPE)
      STANDARD;
    END RSO
    CASSINI_SOLDNER (FalseEast)
      100;
    END CASSINI_SOLDNER
    PLANE (Scale)
      1;
    END PLANE
    SPECIAL (SPPRJ_TYPE)
      SWISS95;
    END SPECIAL
  END MAPPRJ_PARAMS
  TRANSFORM_PARAMS
    APPROX1D (A)
      1;
    END APPROX1D
    AFFIN2D (A1)
      1;
    END AFFIN2D
    HELMERT2D (MODEL)
      BW;
    END HELMERT2D
    HELMERT3D (PhiZ)
      1;
    END HELMERT3D
  END TRANSFORM_PARAMS
  PROJECTION_SETS (PrjSetNo, TYPE)
    1, STRICT;
  END PROJECTION_SETS
END DEFINITIONS
DATABASE
  JOBS (JobNo, Date)
    1, 31-12-1998/23:59:59.99;
  END JOBS
  POINTS (PointNo, PointID,
          CLASS, East)
    1, "P1", FIX, 100.25;
    2, "P2", MEAS,
    200.5;
    EXTRAINFO (PointID, Code)
      "P2", "TREE";
    END EXTRAINFO
    PNT_ACCURACY (PointNo, A11)
      1, 0.001;
    END PNT_ACCURACY
    THEMINFO (PointNo, Attribute, Value)
      1, "Height", 12.5;
    END THEMINFO
    ANNOTATIONS (PointNo, TYPE, Annotation)
      1, NOTE1, "seen; noted";
    END ANNOTATIONS
  END POINTS
  LINES (LineNo)
    1;
    EXTRAINFO (LineNo, LayerNo)
      1, 3;
    END EXTRAINFO
    EDGES (LineNo, LINETYPE)
      1, STRAIGHT;
    END EDGES
    THEMINFO (LineNo, Value)
      1, 2;
    END THEMINFO
    ANNOTATIONS (LineNo)
      1;
    END ANNOTATIONS
  END LINES
  POLYGONS (PolygonNo)
    1;
    EDGES (PolygonNo)
      1;
    END EDGES
    THEMINFO (PolygonNo)
      1;
    END THEMINFO
    ANNOTATIONS (PolygonNo)
      1;
    END ANNOTATIONS
  END POLYGONS
  TEXT
    PROPERTIES (TextPropertyNo)
      1;
    END PROPERTIES
    BOXES
      BOX_ON_POINT (TextBoxNo)
        1;
      END BOX_ON_POINT
    END BOXES
    ITEMS (TextItem)
      "text";
    END ITEMS
  END TEXT
END DATABASE
THEODOLITE
  INSTRUMENTS (Name)
    "T1";
  END INSTRUMENTS
  CONFIGS (CfgNo, AddConst)
    1, 0.02;
    APRIORI_ERRORS (CfgNo, Hz)
      1, 0.001;
    END APRIORI_ERRORS
  END CONFIGS
  SETUP
    STN_NO 1;
    INST_HT 3;
  END SETUP
  SLOPE (TgtNo, Hz, SDist)
    2, 100, 50;
  END SLOPE
END THEODOLITE
METEO
  ELEMENTS (StnNo, DryTemp)
    1, 20.5;
  END ELEMENTS
END METEO
TIME_TAGGED_CODES
  "A12", 01-02-1999/10:20:30.5, 7, "Height", 1.5,
  "Name", "x";
END TIME_TAGGED_CODES
OPERATIONS
  RECTANGLE 12.5
  1, 2;
END OPERATIONS
)";

}  // namespace tavo::tests
