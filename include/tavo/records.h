/* TAVO library, the records that cross its boundaries: record types, field ids, enumeration ids and
 * the packed structures, whose layout is the same for every compiler and word size. Integers and
 * reals are in the machine's little-endian form, texts end with a zero byte. Plain C99 and C++. */
#ifndef TAVO_RECORDS_H
#define TAVO_RECORDS_H

#include <stdint.h>

typedef uint32_t TVO_RecordType;
typedef uint32_t TVO_FieldId;
typedef uint32_t TVO_EnumId;

/* Record types: for each block the columns record, then the data record. */
enum {
  TVO_RECORD_HEADER_COLUMNS = 1,
  TVO_RECORD_HEADER = 5,
  TVO_RECORD_UNITS_COLUMNS = 2,
  TVO_RECORD_UNITS = 6,
  TVO_RECORD_OFFSETS_COLUMNS = 3,
  TVO_RECORD_OFFSETS = 7,
  TVO_RECORD_PROJECT_COLUMNS = 4,
  TVO_RECORD_PROJECT = 8,
  TVO_RECORD_SUBJECTS_COLUMNS = 9,
  TVO_RECORD_SUBJECTS = 16,
  TVO_RECORD_LAYERS_COLUMNS = 10,
  TVO_RECORD_LAYERS = 17,
  TVO_RECORD_SUBJECT_LAYER_LIST_COLUMNS = 11,
  TVO_RECORD_SUBJECT_LAYER_LIST = 18,
  TVO_RECORD_CHOICELIST_COLUMNS = 12,
  TVO_RECORD_CHOICELIST = 19,
  TVO_RECORD_CODELIST_COLUMNS = 13,
  TVO_RECORD_CODELIST = 20,
  TVO_RECORD_CODES_COLUMNS = 14,
  TVO_RECORD_CODES = 21,
  TVO_RECORD_ATTRIBUTES_COLUMNS = 15,
  TVO_RECORD_ATTRIBUTES = 22,
  TVO_RECORD_JOBS_COLUMNS = 23,
  TVO_RECORD_JOBS = 33,
  TVO_RECORD_POINTS_COLUMNS = 24,
  TVO_RECORD_POINTS = 34,
  TVO_RECORD_PNT_ACCURACY_COLUMNS = 25,
  TVO_RECORD_PNT_ACCURACY = 35,
  TVO_RECORD_POINT_THEMINFO_COLUMNS = 26,
  TVO_RECORD_POINT_THEMINFO = 36,
  TVO_RECORD_LINES_COLUMNS = 27,
  TVO_RECORD_LINES = 37,
  TVO_RECORD_LINE_EDGES_COLUMNS = 28,
  TVO_RECORD_LINE_EDGES = 38,
  TVO_RECORD_LINE_THEMINFO_COLUMNS = 29,
  TVO_RECORD_LINE_THEMINFO = 39,
  TVO_RECORD_POLYGONS_COLUMNS = 30,
  TVO_RECORD_POLYGONS = 40,
  TVO_RECORD_POLYGON_EDGES_COLUMNS = 31,
  TVO_RECORD_POLYGON_EDGES = 41,
  TVO_RECORD_POLYGON_THEMINFO_COLUMNS = 32,
  TVO_RECORD_POLYGON_THEMINFO = 42,
  /* EXTRAINFO blocks, for TVO_Build only: the data records that follow such a columns record, of
     the block around it, become its lines. Nothing delivers or stores these. */
  TVO_RECORD_POINT_EXTRAINFO_COLUMNS = 109,
  TVO_RECORD_LINE_EXTRAINFO_COLUMNS = 110,
  TVO_RECORD_POLYGON_EXTRAINFO_COLUMNS = 111,
  TVO_RECORD_ELEMENTS_COLUMNS = 43,
  TVO_RECORD_ELEMENTS = 44,
  TVO_RECORD_INSTRUMENTS_COLUMNS = 45,
  TVO_RECORD_INSTRUMENTS = 50,
  TVO_RECORD_CONFIGS_COLUMNS = 46,
  TVO_RECORD_CONFIGS = 51,
  TVO_RECORD_APRIORI_ERRORS_COLUMNS = 47,
  TVO_RECORD_APRIORI_ERRORS = 52,
  TVO_RECORD_SETUP_COLUMNS = 48,
  TVO_RECORD_SETUP = 53,
  TVO_RECORD_SLOPE_COLUMNS = 49,
  TVO_RECORD_SLOPE = 54,
  TVO_RECORD_OPERATIONS_COLUMNS = 55,
  TVO_RECORD_OPERATIONS = 56,
  TVO_RECORD_POINT_ANNOTATIONS_COLUMNS = 58,
  TVO_RECORD_POINT_ANNOTATIONS = 59,
  TVO_RECORD_LINE_ANNOTATIONS_COLUMNS = 60,
  TVO_RECORD_LINE_ANNOTATIONS = 62,
  TVO_RECORD_POLYGON_ANNOTATIONS_COLUMNS = 61,
  TVO_RECORD_POLYGON_ANNOTATIONS = 63,
  TVO_RECORD_ELLIPSOIDS_COLUMNS = 64,
  TVO_RECORD_ELLIPSOIDS = 77,
  TVO_RECORD_UTM_COLUMNS = 65,
  TVO_RECORD_UTM = 78,
  TVO_RECORD_LAMBERT_COLUMNS = 66,
  TVO_RECORD_LAMBERT = 79,
  TVO_RECORD_MERCATOR_COLUMNS = 67,
  TVO_RECORD_MERCATOR = 80,
  TVO_RECORD_OBLIQUE_MERCATOR_COLUMNS = 68,
  TVO_RECORD_OBLIQUE_MERCATOR = 81,
  TVO_RECORD_DOUBLE_STEREOGRAPHIC_COLUMNS = 69,
  TVO_RECORD_DOUBLE_STEREOGRAPHIC = 82,
  TVO_RECORD_PLANE_COLUMNS = 70,
  TVO_RECORD_PLANE = 83,
  TVO_RECORD_SPECIAL_COLUMNS = 71,
  TVO_RECORD_SPECIAL = 84,
  TVO_RECORD_APPROX1D_COLUMNS = 72,
  TVO_RECORD_APPROX1D = 85,
  TVO_RECORD_AFFIN2D_COLUMNS = 73,
  TVO_RECORD_AFFIN2D = 86,
  TVO_RECORD_HELMERT2D_COLUMNS = 74,
  TVO_RECORD_HELMERT2D = 87,
  TVO_RECORD_HELMERT3D_COLUMNS = 75,
  TVO_RECORD_HELMERT3D = 88,
  TVO_RECORD_PROJECTION_SETS_COLUMNS = 76,
  TVO_RECORD_PROJECTION_SETS = 89,
  TVO_RECORD_TIME_TAGGED_CODES_COLUMNS = 90,
  TVO_RECORD_TIME_TAGGED_CODES = 91,
  TVO_RECORD_PROPERTIES_COLUMNS = 92,
  TVO_RECORD_PROPERTIES = 95,
  TVO_RECORD_BOX_ON_POINT_COLUMNS = 93,
  TVO_RECORD_BOX_ON_POINT = 96,
  TVO_RECORD_ITEMS_COLUMNS = 94,
  TVO_RECORD_ITEMS = 97,
  TVO_RECORD_LAMBERT_WITH_SCALE_COLUMNS = 98,
  TVO_RECORD_LAMBERT_WITH_SCALE = 103,
  TVO_RECORD_MERCATOR_2_COLUMNS = 99,
  TVO_RECORD_MERCATOR_2 = 104,
  TVO_RECORD_POLAR_STEREOGRAPHIC_COLUMNS = 100,
  TVO_RECORD_POLAR_STEREOGRAPHIC = 105,
  TVO_RECORD_RSO_COLUMNS = 101,
  TVO_RECORD_RSO = 106,
  TVO_RECORD_CASSINI_SOLDNER_COLUMNS = 102,
  TVO_RECORD_CASSINI_SOLDNER = 107,
  TVO_RECORD_OPERATION_POINTS = 57
};

/* Field ids, the vocabulary of columns records. A number has the same meaning in every block; names
 * that several numbers share carry their block's name here. TVO_FIELD_End ends a list. */
enum {
  TVO_FIELD_VERSION = 1,
  TVO_FIELD_SYSTEM = 2,
  TVO_FIELD_SEPARATOR = 3,
  TVO_FIELD_TERMINATOR = 4,
  TVO_FIELD_NAME = 5,
  TVO_FIELD_FIELD_DATE = 6,
  TVO_FIELD_FIELD_PARTY = 7,
  TVO_FIELD_OPERATOR = 8,
  TVO_FIELD_CLIENT = 9,
  TVO_FIELD_ADDRESS = 10,
  TVO_FIELD_CITY = 11,
  TVO_FIELD_MAPREF = 12,
  TVO_FIELD_REFERENCE = 13,
  TVO_FIELD_ANGULAR = 14,
  TVO_FIELD_LINEAR = 15,
  TVO_FIELD_GEOCRD = 16,
  TVO_FIELD_TEMP = 17,
  TVO_FIELD_PRESS = 18,
  TVO_FIELD_Date = 19,
  TVO_FIELD_CodeListName = 20,
  TVO_FIELD_SubjectNo = 21,
  TVO_FIELD_SubjectName = 22,
  TVO_FIELD_LayerNo = 23,
  TVO_FIELD_LayerName = 24,
  TVO_FIELD_LayerFlags = 25,
  TVO_FIELD_ListNo = 26,
  TVO_FIELD_Element = 27,
  TVO_FIELD_Code = 28,
  TVO_FIELD_CodeName = 29,
  TVO_FIELD_OBJTYPE = 30,
  TVO_FIELD_Attribute = 31,
  TVO_FIELD_DATATYPE = 32,
  TVO_FIELD_MANDATORY = 33,
  TVO_FIELD_Default = 34,
  TVO_FIELD_RangeLow = 35,
  TVO_FIELD_RangeHigh = 36,
  TVO_FIELD_FieldParty = 37,
  TVO_FIELD_JobNo = 38,
  TVO_FIELD_JobName = 39,
  TVO_FIELD_TimeZone = 40,
  TVO_FIELD_PointNo = 41,
  TVO_FIELD_PointID = 42,
  TVO_FIELD_SYS = 43,
  TVO_FIELD_CLASS = 44,
  TVO_FIELD_East = 45,
  TVO_FIELD_North = 46,
  TVO_FIELD_Elevation = 47,
  TVO_FIELD_Longitude = 48,
  TVO_FIELD_Latitude = 49,
  TVO_FIELD_Height = 50,
  TVO_FIELD_Geoid = 51,
  TVO_FIELD_Description = 52,
  TVO_FIELD_Color = 53,
  TVO_FIELD_SymNo1 = 54,
  TVO_FIELD_SymNo2 = 55,
  TVO_FIELD_SymDim1 = 56,
  TVO_FIELD_SymDim2 = 57,
  TVO_FIELD_SymDir = 58,
  TVO_FIELD_RoundingXY = 59,
  TVO_FIELD_RoundingZ = 60,
  TVO_FIELD_MajorAxisDir = 61,
  TVO_FIELD_SourceXY = 62,
  TVO_FIELD_SourceZ = 63,
  TVO_FIELD_PointFlags = 64,
  TVO_FIELD_Mo = 65,
  TVO_FIELD_A11 = 66,
  TVO_FIELD_A12 = 67,
  TVO_FIELD_A13 = 68,
  TVO_FIELD_A22 = 69,
  TVO_FIELD_A23 = 70,
  TVO_FIELD_A33 = 71,
  TVO_FIELD_LineNo = 72,
  TVO_FIELD_LineID = 73,
  TVO_FIELD_LineStyle = 74,
  TVO_FIELD_DistType = 75,
  TVO_FIELD_BrgRoundNo = 76,
  TVO_FIELD_DistRoundNo = 77,
  TVO_FIELD_CurveFactor = 78,
  TVO_FIELD_ExagFactor = 79,
  TVO_FIELD_Flags1 = 80,
  TVO_FIELD_Flags2 = 81,
  TVO_FIELD_PolygonNo = 82,
  TVO_FIELD_PolygonID = 83,
  TVO_FIELD_HatchColor = 84,
  TVO_FIELD_FillType = 85,
  TVO_FIELD_HatchDir = 86,
  TVO_FIELD_LineSpace = 87,
  TVO_FIELD_SymNo = 88,
  TVO_FIELD_SymSpace = 89,
  TVO_FIELD_EdgeLength = 90,
  TVO_FIELD_AngleRoundNo = 91,
  TVO_FIELD_AreaRoundNo = 92,
  TVO_FIELD_PolygonFlags = 93,
  TVO_FIELD_StartPt = 94,
  TVO_FIELD_EndPt = 95,
  TVO_FIELD_StartPtID = 96,
  TVO_FIELD_EndPtID = 97,
  TVO_FIELD_LINETYPE = 98,
  TVO_FIELD_Value = 99,
  TVO_FIELD_WetTemp = 100,
  TVO_FIELD_DryTemp = 101,
  TVO_FIELD_AtmPress = 102,
  TVO_FIELD_RefCoeff = 103,
  TVO_FIELD_InstrName = 104,
  TVO_FIELD_TheoNo = 105,
  TVO_FIELD_EDMNo = 106,
  TVO_FIELD_CfgNo = 107,
  TVO_FIELD_AddConst = 108,
  TVO_FIELD_Collimation = 109,
  TVO_FIELD_TiltAxis = 110,
  TVO_FIELD_Index = 111,
  TVO_FIELD_StnNo = 112,
  TVO_FIELD_StnID = 113,
  TVO_FIELD_TgtNo = 114,
  TVO_FIELD_TgtID = 115,
  TVO_FIELD_Hz = 116,
  TVO_FIELD_Vz = 117,
  TVO_FIELD_SDist = 118,
  TVO_FIELD_InstrHt = 119,
  TVO_FIELD_RefHt = 120,
  TVO_FIELD_Ppm = 121,
  TVO_FIELD_Ori = 122,
  TVO_FIELD_SlopeCfgNo = 123,
  TVO_FIELD_OffsetUp = 124,
  TVO_FIELD_OffsetRight = 125,
  TVO_FIELD_OffsetAway = 126,
  TVO_FIELD_InclinLength = 127,
  TVO_FIELD_InclinCross = 128,
  TVO_FIELD_SlopeFlags = 129,
  TVO_FIELD_Note = 130,
  TVO_FIELD_End = 131,
  TVO_FIELD_TYPE = 132,
  TVO_FIELD_Annotation = 133,
  TVO_FIELD_EllipsoidNo = 134,
  TVO_FIELD_EllipsoidName = 135,
  TVO_FIELD_EllipsoidA = 136,
  TVO_FIELD_EllipsoidF = 137,
  TVO_FIELD_MapPrjNo = 138,
  TVO_FIELD_MapPrjName = 139,
  TVO_FIELD_PrjFlags = 140,
  TVO_FIELD_MinLat = 141,
  TVO_FIELD_MaxLat = 142,
  TVO_FIELD_MinLong = 143,
  TVO_FIELD_MaxLong = 144,
  TVO_FIELD_ZoneNo = 145,
  TVO_FIELD_HEMISPHERE = 146,
  TVO_FIELD_FalseEast = 147,
  TVO_FIELD_FalseNorth = 148,
  TVO_FIELD_OriginLat = 149,
  TVO_FIELD_OriginLong = 150,
  TVO_FIELD_PhiNorth = 151,
  TVO_FIELD_PhiSouth = 152,
  TVO_FIELD_Scale = 153,
  TVO_FIELD_ZoneWidth = 154,
  TVO_FIELD_SkewAxis = 155,
  TVO_FIELD_TrfNo = 156,
  TVO_FIELD_TrfName = 157,
  TVO_FIELD_TrfFlags = 158,
  TVO_FIELD_Xo = 159,
  TVO_FIELD_Yo = 160,
  TVO_FIELD_A = 161,
  TVO_FIELD_B = 162,
  TVO_FIELD_C = 163,
  TVO_FIELD_A1 = 164,
  TVO_FIELD_A2 = 165,
  TVO_FIELD_A3 = 166,
  TVO_FIELD_B1 = 167,
  TVO_FIELD_B2 = 168,
  TVO_FIELD_B3 = 169,
  TVO_FIELD_dX = 170,
  TVO_FIELD_dY = 171,
  TVO_FIELD_Phi = 172,
  TVO_FIELD_MODEL = 173,
  TVO_FIELD_Zo = 174,
  TVO_FIELD_dZ = 175,
  TVO_FIELD_PhiX = 176,
  TVO_FIELD_PhiY = 177,
  TVO_FIELD_PhiZ = 178,
  TVO_FIELD_PrjSetNo = 179,
  TVO_FIELD_PrjSetName = 180,
  TVO_FIELD_LTrfNo = 181,
  TVO_FIELD_HTrfNo = 182,
  TVO_FIELD_ApplType = 183,
  TVO_FIELD_X = 184,
  TVO_FIELD_Y = 185,
  TVO_FIELD_Z = 186,
  TVO_FIELD_Shortcut = 187,
  TVO_FIELD_TextPropertyNo = 188,
  TVO_FIELD_Width = 189,
  TVO_FIELD_CharSpacing = 190,
  TVO_FIELD_Style = 191,
  TVO_FIELD_SlantAngle = 192,
  TVO_FIELD_Thickness = 193,
  TVO_FIELD_Font = 194,
  TVO_FIELD_TextBoxNo = 195,
  TVO_FIELD_Units = 196,
  TVO_FIELD_AnchorPosition = 197,
  TVO_FIELD_AnchorPointNo = 198,
  TVO_FIELD_OffsetEast = 199,
  TVO_FIELD_OffsetNorth = 200,
  TVO_FIELD_OffsetElevation = 201,
  TVO_FIELD_TextItemNo = 202,
  TVO_FIELD_TextItem = 203,
  TVO_FIELD_TEMPLATE_ID = 204,
  TVO_FIELD_RECTIFYTYPE = 205,
  TVO_FIELD_ANGLETYPE = 206,
  TVO_FIELD_HIDDEN = 207,
  TVO_FIELD_HIDEALWAYS = 208,
  TVO_FIELD_CodeNo = 209
};

/* Values of enumeration members. */
enum {
  TVO_ENUM_DMS = 0,
  TVO_ENUM_DEGS = 1,
  TVO_ENUM_GRADS = 2,
  TVO_ENUM_RADS = 3,
  TVO_ENUM_USER = 4,
  TVO_ENUM_METRE = 10,
  TVO_ENUM_INT_FEET = 11,
  TVO_ENUM_US_SURVEY_FEET = 12,
  TVO_ENUM_LINKS = 13,
  TVO_ENUM_USER_LINEAR = 14,
  TVO_ENUM_USER_GEOGRAPHIC = 20,
  TVO_ENUM_CELSIUS = 30,
  TVO_ENUM_FAHRENHEIT = 31,
  TVO_ENUM_MMHG = 40,
  TVO_ENUM_INHG = 41,
  TVO_ENUM_HPA = 42,
  TVO_ENUM_MJD = 50,
  TVO_ENUM_DMY = 51,
  TVO_ENUM_MDY = 52,
  TVO_ENUM_YMD = 53,
  TVO_ENUM_TEXT = 100,
  TVO_ENUM_REAL = 101,
  TVO_ENUM_INT = 102,
  TVO_ENUM_POINT = 110,
  TVO_ENUM_POLYGON = 111,
  TVO_ENUM_LINE = 112,
  TVO_ENUM_TIME = 113,
  TVO_ENUM_EST = 120,
  TVO_ENUM_NAV = 121,
  TVO_ENUM_SPP = 122,
  TVO_ENUM_MEAS = 123,
  TVO_ENUM_AVG = 124,
  TVO_ENUM_REF = 125,
  TVO_ENUM_ADJ = 126,
  TVO_ENUM_FIX = 127,
  TVO_ENUM_YES = 130,
  TVO_ENUM_NO = 131,
  TVO_ENUM_NOTE1 = 140,
  TVO_ENUM_NOTE2 = 141,
  TVO_ENUM_NOTE3 = 142,
  TVO_ENUM_NOTE4 = 143,
  TVO_ENUM_NORTH = 160,
  TVO_ENUM_SOUTH = 161,
  TVO_ENUM_STANDARD = 162,
  TVO_ENUM_NAD27 = 163,
  TVO_ENUM_BW = 164,
  TVO_ENUM_MB = 165,
  TVO_ENUM_STRICT = 166,
  TVO_ENUM_ONESTEP = 167,
  TVO_ENUM_GAMMA_0 = 168,
  TVO_ENUM_ALPHA_C = 169,
  TVO_ENUM_STRAIGHT = 200,
  TVO_ENUM_ARC_CENT = 201,
  TVO_ENUM_CIRCLE_CENT = 202,
  TVO_ENUM_CURVE_3RD = 203,
  TVO_ENUM_CURVE_4RD = 204,
  TVO_ENUM_ELLIPSE = 205,
  TVO_ENUM_SPIRAL = 206,
  TVO_ENUM_SPLAY = 207,
  TVO_ENUM_RADIATION = 208,
  TVO_ENUM_OFFSET = 209,
  TVO_ENUM_SWISS_MILITARY = 1000,
  TVO_ENUM_SWISS_CIVILIAN = 1001,
  TVO_ENUM_NEWZEALAND_GRID = 1002,
  TVO_ENUM_MALAYAN_RSO = 1003,
  TVO_ENUM_HUNGARIAN = 1004,
  TVO_ENUM_SOLDNER_BERLIN = 1005,
  TVO_ENUM_DUTCH = 1006,
  TVO_ENUM_FINNISH_KKJ = 1007,
  TVO_ENUM_SWISS95 = 1008,
  TVO_ENUM_UNKNOWN = 1009
};

#pragma pack(push, 1)

/* hundredths is the fraction of the second. A date-time with year 0 is empty. */
typedef struct TVO_DateTime {
  int16_t year, month, day, hour, minute, second, hundredths;
} TVO_DateTime;

enum { TVO_COMMENT_SIZE = 250, TVO_COLUMNS_ROOM = 41 };

/* Every columns record: comment text (left zero by the analysis; the writers write it as comment
 * lines), then the ids of the declared columns or of the items present, ended by TVO_FIELD_End. */
typedef struct TVO_ColumnsRecord {
  char comment[TVO_COMMENT_SIZE];
  TVO_FieldId fields[TVO_COLUMNS_ROOM];
} TVO_ColumnsRecord;

/* Default of an attribute: kind TVO_ENUM_TEXT (text is live), TVO_ENUM_REAL (real) or 0 (absent).
 */
typedef struct TVO_DefaultValue {
  TVO_EnumId kind;
  char text[41];
  double real;
} TVO_DefaultValue;

/* A free value: kind TVO_ENUM_TEXT, TVO_ENUM_REAL or TVO_ENUM_INT names the live member. */
typedef struct TVO_FreeValue {
  TVO_EnumId kind;
  char text[127];
  double real;
  int32_t integer;
} TVO_FreeValue;

/* One named value of a time-tagged code; kind as in FreeValue. */
typedef struct TVO_TimeTaggedEntry {
  char name[31];
  TVO_EnumId kind;
  char text[31];
  double real;
  int32_t integer;
} TVO_TimeTaggedEntry;

/* A point of an operation, given by number, by identifier (17 characters) or by both. */
typedef struct TVO_OperationPoint {
  uint32_t PointNo;
  char PointID[18];
} TVO_OperationPoint;

/* Type 5: HEADER items. */
typedef struct TVO_HeaderRecord {
  float VERSION;
  char SYSTEM[61], SEPARATOR, TERMINATOR;
} TVO_HeaderRecord;

/* Type 6: UNITS items; a factor belongs to the user unit of the member before it. */
typedef struct TVO_UnitsRecord {
  TVO_EnumId ANGULAR;
  double angularFactor;
  TVO_EnumId LINEAR;
  double linearFactor;
  TVO_EnumId GEOCRD;
  double geographicFactor;
  TVO_EnumId TEMP, PRESS, TIME;
} TVO_UnitsRecord;

/* Type 7: OFFSETS items, metres. */
typedef struct TVO_OffsetsRecord {
  double EAST, NORTH, ELEVATION;
} TVO_OffsetsRecord;

/* Type 8: PROJECT items. */
typedef struct TVO_ProjectRecord {
  char NAME[61], FIELD_DATE[61];
  TVO_DateTime CREATION_DATE;
  char FIELD_PARTY[61], OPERATOR[61], CLIENT[61], ADDRESS[61], CITY[61], MAPREF[61], REFERENCE[61],
      DESCRIPTION[61];
} TVO_ProjectRecord;

/* Type 16: SUBJECTS. */
typedef struct TVO_SubjectRecord {
  uint16_t SubjectNo;
  char Name[31];
} TVO_SubjectRecord;

/* Type 17: LAYERS. */
typedef struct TVO_LayerRecord {
  uint16_t LayerNo;
  char Name[31];
  uint8_t Flags;
} TVO_LayerRecord;

/* Type 18: SUBJECT_LAYER_LIST. */
typedef struct TVO_SubjectLayerRecord {
  uint16_t SubjectNo, LayerNo;
} TVO_SubjectLayerRecord;

/* Type 19: CHOICELIST. */
typedef struct TVO_ChoiceRecord {
  uint16_t ListNo;
  char Element[31];
} TVO_ChoiceRecord;

/* Type 20: CODELIST items. */
typedef struct TVO_CodeListRecord {
  char NAME[31], AUTHOR[61];
  TVO_DateTime DATE;
  uint16_t TEMPLATE_ID;
} TVO_CodeListRecord;

/* Type 21: CODES. */
typedef struct TVO_CodeRecord {
  uint16_t CodeNo;
  char Code[9], Name[31];
  TVO_EnumId OBJTYPE;
  uint16_t LayerNo, Shortcut;
} TVO_CodeRecord;

/* Type 22: ATTRIBUTES. */
typedef struct TVO_AttributeRecord {
  char Attribute[31];
  TVO_EnumId DATATYPE;
  uint16_t CodeNo;
  char Code[9];
  uint16_t ListNo;
  TVO_EnumId MANDATORY, HIDDEN, HIDEALWAYS;
  TVO_DefaultValue Default;
  double RangeLow, RangeHigh;
} TVO_AttributeRecord;

/* Type 33: JOBS. */
typedef struct TVO_JobRecord {
  uint16_t JobNo;
  char Name[31], Operator[61], FieldParty[61];
  TVO_DateTime Date;
  float TimeZone;
} TVO_JobRecord;

/* Type 34: POINTS. */
typedef struct TVO_PointRecord {
  uint32_t PointNo;
  char PointID[17];
  uint16_t JobNo;
  uint8_t SYS;
  TVO_EnumId CLASS;
  double East, North, Elevation, Longitude, Latitude, EllHeight, X, Y, Z;
  uint16_t PrjSetNo, CodeNo;
  char Code[9], Description[31];
  TVO_DateTime Date;
  uint32_t Color;
  uint16_t LayerNo, SymNo1, SymNo2;
  float SymDim1, SymDim2, SymDir;
  uint8_t RoundingXY, RoundingZ;
  float MajorAxisDir;
  uint8_t SourceXY, SourceZ;
  float Geoid;
  uint16_t Flags;
} TVO_PointRecord;

/* Type 35: PNT_ACCURACY. */
typedef struct TVO_PointAccuracyRecord {
  uint32_t PointNo;
  char PointID[17];
  float Mo;
  double A11, A12, A13, A22, A23, A33;
} TVO_PointAccuracyRecord;

/* Types 36, 39, 42: THEMINFO in POINTS, LINES, POLYGONS; OwnerNo is PointNo, LineNo or PolygonNo,
 * whichever column was given. */
typedef struct TVO_ThemInfoRecord {
  uint32_t OwnerNo;
  char PointID[17], Attribute[31];
  TVO_FreeValue Value;
} TVO_ThemInfoRecord;

/* Type 37: LINES. */
typedef struct TVO_LineRecord {
  uint32_t LineNo;
  char LineID[17];
  uint16_t JobNo, CodeNo;
  char Code[9], Description[31];
  uint32_t Color;
  uint16_t LayerNo, LineStyle;
  uint8_t DistType, BrgRoundNo, DistRoundNo, CurveFactor;
  uint16_t ExagFactor, Flags1, Flags2;
} TVO_LineRecord;

/* Types 38, 41: EDGES in LINES, POLYGONS. */
typedef struct TVO_EdgeRecord {
  uint32_t LineNo, PolygonNo, StartPt;
  char StartPtID[17];
  uint32_t EndPt;
  char EndPtID[17];
  TVO_EnumId LINETYPE;
} TVO_EdgeRecord;

/* Type 40: POLYGONS. */
typedef struct TVO_PolygonRecord {
  uint32_t PolygonNo;
  char PolygonID[17];
  uint16_t JobNo, CodeNo;
  char Code[9], Description[31];
  uint32_t Color;
  uint16_t LayerNo;
  uint32_t HatchColor;
  uint8_t FillType;
  float HatchDir;
  uint16_t LineStyle;
  float LineSpace;
  uint16_t SymNo;
  float SymDim1, SymDim2, SymDir, SymSpace, EdgeLength;
  uint8_t AngleRoundNo, AreaRoundNo;
  uint16_t Flags;
} TVO_PolygonRecord;

/* Type 44: ELEMENTS in METEO. */
typedef struct TVO_ElementsRecord {
  uint32_t StnNo;
  char StnID[17];
  TVO_DateTime Date;
  float WetTemp, DryTemp, AtmPress, RefCoeff;
  char Note[31];
} TVO_ElementsRecord;

/* Type 50: INSTRUMENTS. */
typedef struct TVO_InstrumentRecord {
  char Name[31];
  uint32_t TheoNo, EDMNo;
} TVO_InstrumentRecord;

/* Type 51: CONFIGS; angles in radians, AddConst in metres. */
typedef struct TVO_ConfigRecord {
  uint16_t CfgNo;
  char InstrName[31];
  TVO_DateTime Date;
  float AddConst;
  double Collimation, TiltAxis, Index;
} TVO_ConfigRecord;

/* Type 52: APRIORI_ERRORS; angles in radians, lengths in metres. */
typedef struct TVO_AprioriErrorRecord {
  uint16_t CfgNo;
  double Hz, Vz;
  float SDist, InstrHt, RefHt;
} TVO_AprioriErrorRecord;

/* Type 53: SETUP items; INST_HT in metres. No item sets Date, it stays zero. */
typedef struct TVO_SetupRecord {
  uint32_t STN_NO;
  char STN_ID[17];
  float INST_HT;
  TVO_DateTime Date;
} TVO_SetupRecord;

/* Type 54: SLOPE; angles in radians, lengths in metres. */
typedef struct TVO_SlopeRecord {
  uint32_t TgtNo;
  char TgtID[17];
  double Hz, Vz, SDist;
  float RefHt, Ppm;
  double Ori;
  uint16_t CfgNo;
  TVO_DateTime Date;
  float OffsetUp, OffsetRight, OffsetAway;
  double InclinLength, InclinCross;
  uint8_t ApplType, Flags;
  char Note[31];
} TVO_SlopeRecord;

/* Type 56: OPERATIONS, the operation. */
typedef struct TVO_OperationRecord {
  uint32_t Operation;
} TVO_OperationRecord;

/* Type 57: OPERATIONS, its points in line order; unused slots are zero. */
typedef struct TVO_OperationPointsRecord {
  TVO_OperationPoint points[10];
} TVO_OperationPointsRecord;

/* Types 59, 62, 63: ANNOTATIONS in POINTS, LINES, POLYGONS. */
typedef struct TVO_AnnotationRecord {
  uint32_t PointNo;
  char PointID[17];
  uint32_t LineNo, PolygonNo;
  TVO_EnumId TYPE;
  char Annotation[61];
} TVO_AnnotationRecord;

/* Type 77: ELLIPSOIDS. */
typedef struct TVO_EllipsoidRecord {
  uint16_t EllipsoidNo;
  char Name[31];
  double A, F;
  TVO_DateTime Date;
} TVO_EllipsoidRecord;

/* Type 78: UTM; latitudes and longitudes in radians, Geoid and false origins in metres. */
typedef struct TVO_UtmRecord {
  uint16_t MapPrjNo;
  char Name[31];
  TVO_DateTime Date;
  uint8_t Flags;
  double MinLat, MaxLat, MinLong, MaxLong;
  float Geoid;
  uint16_t ZoneNo;
  TVO_EnumId HEMISPHERE;
} TVO_UtmRecord;

/* Type 79: LAMBERT; latitudes and longitudes in radians, Geoid and false origins in metres.
 * LAMPRJ_TYPE is never kept, it stays zero. */
typedef struct TVO_LambertRecord {
  uint16_t MapPrjNo;
  char Name[31];
  TVO_DateTime Date;
  uint8_t Flags;
  double MinLat, MaxLat, MinLong, MaxLong;
  float Geoid;
  double FalseEast, FalseNorth, OriginLat, OriginLong, PhiNorth, PhiSouth;
  TVO_EnumId HEMISPHERE, LAMPRJ_TYPE;
} TVO_LambertRecord;

/* Type 80: MERCATOR; latitudes and longitudes in radians, Geoid and false origins in metres.
 * MERCPRJ_TYPE is never kept, it stays zero. */
typedef struct TVO_MercatorRecord {
  uint16_t MapPrjNo;
  char Name[31];
  TVO_DateTime Date;
  uint8_t Flags;
  double MinLat, MaxLat, MinLong, MaxLong;
  float Geoid;
  double FalseEast, FalseNorth, OriginLat, OriginLong, Scale, ZoneWidth;
  TVO_EnumId HEMISPHERE, MERCPRJ_TYPE;
} TVO_MercatorRecord;

/* Type 81: OBLIQUE_MERCATOR; latitudes and longitudes in radians, Geoid and false origins in
 * metres. */
typedef struct TVO_ObliqueMercatorRecord {
  uint16_t MapPrjNo;
  char Name[31];
  TVO_DateTime Date;
  uint8_t Flags;
  double MinLat, MaxLat, MinLong, MaxLong;
  float Geoid;
  double FalseEast, FalseNorth, OriginLat, OriginLong, Scale, SkewAxis;
  TVO_EnumId HEMISPHERE, ANGLETYPE;
} TVO_ObliqueMercatorRecord;

/* Types 82, 105: DOUBLE_STEREOGRAPHIC, POLAR_STEREOGRAPHIC; latitudes and longitudes in radians,
 * Geoid and false origins in metres. */
typedef struct TVO_StereographicRecord {
  uint16_t MapPrjNo;
  char Name[31];
  TVO_DateTime Date;
  uint8_t Flags;
  double MinLat, MaxLat, MinLong, MaxLong;
  float Geoid;
  double FalseEast, FalseNorth, OriginLat, OriginLong, Scale;
  TVO_EnumId HEMISPHERE;
} TVO_StereographicRecord;

/* Type 83: PLANE. */
typedef struct TVO_PlaneRecord {
  uint16_t MapPrjNo;
  char Name[31];
  TVO_DateTime Date;
  uint8_t Flags;
  double Scale;
} TVO_PlaneRecord;

/* Type 84: SPECIAL. */
typedef struct TVO_SpecialRecord {
  uint16_t MapPrjNo;
  char Name[31];
  TVO_DateTime Date;
  uint8_t Flags;
  TVO_EnumId SPPRJ_TYPE;
} TVO_SpecialRecord;

/* Type 85: APPROX1D. */
typedef struct TVO_Approx1dRecord {
  uint16_t TrfNo;
  char Name[31];
  TVO_DateTime Date;
  uint8_t Flags;
  double Xo, Yo, A, B, C;
} TVO_Approx1dRecord;

/* Type 86: AFFIN2D. */
typedef struct TVO_Affin2dRecord {
  uint16_t TrfNo;
  char Name[31];
  TVO_DateTime Date;
  uint8_t Flags;
  double Xo, Yo, A1, A2, A3, B1, B2, B3;
} TVO_Affin2dRecord;

/* Type 87: HELMERT2D. */
typedef struct TVO_Helmert2dRecord {
  uint16_t TrfNo;
  char Name[31];
  TVO_DateTime Date;
  uint8_t Flags;
  double Xo, Yo, dX, dY, Phi, Scale;
  TVO_EnumId MODEL;
} TVO_Helmert2dRecord;

/* Type 88: HELMERT3D. */
typedef struct TVO_Helmert3dRecord {
  uint16_t TrfNo;
  char Name[31];
  TVO_DateTime Date;
  uint8_t Flags;
  double Xo, Yo, Zo, dX, dY, dZ, PhiX, PhiY, PhiZ, Scale;
  TVO_EnumId MODEL;
} TVO_Helmert3dRecord;

/* Type 89: PROJECTION_SETS. */
typedef struct TVO_ProjectionSetRecord {
  uint16_t PrjSetNo;
  char Name[31];
  uint16_t EllipsoidNo, MapPrjNo, LTrfNo, HTrfNo;
  TVO_DateTime Date;
  uint8_t Flags;
  TVO_EnumId TYPE;
} TVO_ProjectionSetRecord;

/* Type 91: TIME_TAGGED_CODES; entries are valid during the callback only. */
typedef struct TVO_TimeTaggedRecord {
  char Code[9];
  TVO_DateTime TimeTag;
  uint16_t Number, EntryCount;
  const TVO_TimeTaggedEntry* entries;
} TVO_TimeTaggedRecord;

/* Type 95: PROPERTIES. */
typedef struct TVO_TextPropertyRecord {
  uint16_t TextPropertyNo, Units, Color;
  float Height, Width, CharSpacing, LineSpacing;
  uint8_t Style;
  float SlantAngle, Thickness;
  char Font[51];
} TVO_TextPropertyRecord;

/* Type 96: BOX_ON_POINT. */
typedef struct TVO_TextBoxRecord {
  uint16_t TextBoxNo, LayerNo, Units;
  uint8_t AnchorPosition;
  uint32_t AnchorPointNo;
  float OffsetEast, OffsetNorth, OffsetElevation, HzDirection;
} TVO_TextBoxRecord;

/* Type 97: ITEMS. */
typedef struct TVO_TextItemRecord {
  uint16_t TextItemNo, TextBoxNo, TextPropertyNo, LineNo;
  char TextItem[101];
} TVO_TextItemRecord;

/* Type 103: LAMBERT_WITH_SCALE; latitudes and longitudes in radians, Geoid and false origins in
 * metres. */
typedef struct TVO_LambertWithScaleRecord {
  uint16_t MapPrjNo;
  char Name[31];
  TVO_DateTime Date;
  uint8_t Flags;
  double MinLat, MaxLat, MinLong, MaxLong;
  float Geoid;
  double FalseEast, FalseNorth, OriginLat, OriginLong, Phi, Scale;
  TVO_EnumId HEMISPHERE;
} TVO_LambertWithScaleRecord;

/* Type 104: MERCATOR_2; latitudes and longitudes in radians, Geoid and false origins in metres.
 * */
typedef struct TVO_Mercator2Record {
  uint16_t MapPrjNo;
  char Name[31];
  TVO_DateTime Date;
  uint8_t Flags;
  double MinLat, MaxLat, MinLong, MaxLong;
  float Geoid;
  double FalseEast, FalseNorth, OriginLong;
  TVO_EnumId HEMISPHERE;
} TVO_Mercator2Record;

/* Type 106: RSO; latitudes and longitudes in radians, Geoid and false origins in metres. */
typedef struct TVO_RsoRecord {
  uint16_t MapPrjNo;
  char Name[31];
  TVO_DateTime Date;
  uint8_t Flags;
  double MinLat, MaxLat, MinLong, MaxLong;
  float Geoid;
  double FalseEast, FalseNorth, OriginLat, OriginLong, SkewAxis, Scale;
  TVO_EnumId RECTIFYTYPE, ANGLETYPE, HEMISPHERE;
} TVO_RsoRecord;

/* Type 107: CASSINI_SOLDNER; latitudes and longitudes in radians, Geoid and false origins in
 * metres. */
typedef struct TVO_CassiniSoldnerRecord {
  uint16_t MapPrjNo;
  char Name[31];
  TVO_DateTime Date;
  uint8_t Flags;
  double MinLat, MaxLat, MinLong, MaxLong;
  float Geoid;
  double FalseEast, FalseNorth, OriginLat, OriginLong;
  TVO_EnumId HEMISPHERE;
} TVO_CassiniSoldnerRecord;

#pragma pack(pop)

/* The names without their prefix. A host that has a DateTime, say, of its own defines
 * TAVO_NO_SHORT_NAMES before it includes a header of ours, and uses the prefixed ones. */
#if !defined(TAVO_NO_SHORT_NAMES)
typedef TVO_RecordType RecordType;
typedef TVO_FieldId FieldId;
typedef TVO_EnumId EnumId;
typedef TVO_DateTime DateTime;
typedef TVO_ColumnsRecord ColumnsRecord;
typedef TVO_ColumnsRecord HeaderColumns, UnitsColumns, OffsetsColumns, ProjectColumns, JobColumns;
typedef TVO_DefaultValue DefaultValue;
typedef TVO_FreeValue FreeValue;
typedef TVO_TimeTaggedEntry TimeTaggedEntry;
typedef TVO_OperationPoint OperationPoint;
typedef TVO_HeaderRecord HeaderRecord;
typedef TVO_UnitsRecord UnitsRecord;
typedef TVO_OffsetsRecord OffsetsRecord;
typedef TVO_ProjectRecord ProjectRecord;
typedef TVO_SubjectRecord SubjectRecord;
typedef TVO_LayerRecord LayerRecord;
typedef TVO_SubjectLayerRecord SubjectLayerRecord;
typedef TVO_ChoiceRecord ChoiceRecord;
typedef TVO_CodeListRecord CodeListRecord;
typedef TVO_CodeRecord CodeRecord;
typedef TVO_AttributeRecord AttributeRecord;
typedef TVO_JobRecord JobRecord;
typedef TVO_PointRecord PointRecord;
typedef TVO_PointAccuracyRecord PointAccuracyRecord;
typedef TVO_ThemInfoRecord ThemInfoRecord;
typedef TVO_LineRecord LineRecord;
typedef TVO_EdgeRecord EdgeRecord;
typedef TVO_PolygonRecord PolygonRecord;
typedef TVO_ElementsRecord ElementsRecord;
typedef TVO_InstrumentRecord InstrumentRecord;
typedef TVO_ConfigRecord ConfigRecord;
typedef TVO_AprioriErrorRecord AprioriErrorRecord;
typedef TVO_SetupRecord SetupRecord;
typedef TVO_SlopeRecord SlopeRecord;
typedef TVO_OperationRecord OperationRecord;
typedef TVO_OperationPointsRecord OperationPointsRecord;
typedef TVO_AnnotationRecord AnnotationRecord;
typedef TVO_EllipsoidRecord EllipsoidRecord;
typedef TVO_UtmRecord UtmRecord;
typedef TVO_LambertRecord LambertRecord;
typedef TVO_MercatorRecord MercatorRecord;
typedef TVO_ObliqueMercatorRecord ObliqueMercatorRecord;
typedef TVO_StereographicRecord StereographicRecord;
typedef TVO_PlaneRecord PlaneRecord;
typedef TVO_SpecialRecord SpecialRecord;
typedef TVO_Approx1dRecord Approx1dRecord;
typedef TVO_Affin2dRecord Affin2dRecord;
typedef TVO_Helmert2dRecord Helmert2dRecord;
typedef TVO_Helmert3dRecord Helmert3dRecord;
typedef TVO_ProjectionSetRecord ProjectionSetRecord;
typedef TVO_TimeTaggedRecord TimeTaggedRecord;
typedef TVO_TextPropertyRecord TextPropertyRecord;
typedef TVO_TextBoxRecord TextBoxRecord;
typedef TVO_TextItemRecord TextItemRecord;
typedef TVO_LambertWithScaleRecord LambertWithScaleRecord;
typedef TVO_Mercator2Record Mercator2Record;
typedef TVO_RsoRecord RsoRecord;
typedef TVO_CassiniSoldnerRecord CassiniSoldnerRecord;
#endif

#endif /* TAVO_RECORDS_H */
