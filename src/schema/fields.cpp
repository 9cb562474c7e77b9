// The field tables, in column order, and the catalogue of record types.
#include "schema/fields.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace tavo::schema {

namespace {

constexpr uint8_t widthOf(DataType type, size_t size) {
  switch (type) {
    case DataType::kText:
      return static_cast<uint8_t>(size);
    case DataType::kDefault:
      return sizeof(DefaultValue::text);
    case DataType::kBits:
      return static_cast<uint8_t>(8 * size);
    default:
      return 0;
  }
}

constexpr FieldDef kEnd{kEndMark, "", DataType::kFree, 0, kNotKept};

// A row whose column bears the member's name; one whose column bears another name, or none; and one
// that is read and checked but never kept.
#define NAMED(Record, member, column, id, type)                                           \
  FieldDef {                                                                              \
    id, column, DataType::type, widthOf(DataType::type, sizeof(Record::member)),          \
        offsetof(Record, member), EnumGroup::kAny, UnitKind::kNone, DecimalKind::kGeneral \
  }
#define F(Record, member, id, type) NAMED(Record, member, #member, id, type)
#define NOT_KEPT(Record, member, id, type) \
  FieldDef { id, #member, DataType::type, 0, kNotKept }

constexpr FieldDef kHeaderFields[] = {
    F(HeaderRecord, VERSION, TVO_FIELD_VERSION, kFloat),
    F(HeaderRecord, SYSTEM, TVO_FIELD_SYSTEM, kText),
    F(HeaderRecord, SEPARATOR, TVO_FIELD_SEPARATOR, kChar),
    F(HeaderRecord, TERMINATOR, TVO_FIELD_TERMINATOR, kChar),
    kEnd,
};

constexpr FieldDef kUnitsFields[] = {
    F(UnitsRecord, ANGULAR, TVO_FIELD_ANGULAR, kEnum),
    F(UnitsRecord, LINEAR, TVO_FIELD_LINEAR, kEnum),
    F(UnitsRecord, GEOCRD, TVO_FIELD_GEOCRD, kEnum),
    F(UnitsRecord, TEMP, TVO_FIELD_TEMP, kEnum),
    F(UnitsRecord, PRESS, TVO_FIELD_PRESS, kEnum),
    F(UnitsRecord, TIME, TVO_FIELD_Date, kEnum),
    NAMED(UnitsRecord, angularFactor, "", 0, kDouble).with(DecimalKind::kGeographic),
    NAMED(UnitsRecord, linearFactor, "", 0, kDouble).with(DecimalKind::kGeographic),
    NAMED(UnitsRecord, geographicFactor, "", 0, kDouble).with(DecimalKind::kGeographic),
    kEnd,
};

constexpr FieldDef kOffsetsFields[] = {
    F(OffsetsRecord, EAST, TVO_FIELD_East, kDouble).from(UnitKind::kLinear),
    F(OffsetsRecord, NORTH, TVO_FIELD_North, kDouble).from(UnitKind::kLinear),
    F(OffsetsRecord, ELEVATION, TVO_FIELD_Elevation, kDouble).from(UnitKind::kLinear),
    kEnd,
};

constexpr FieldDef kProjectFields[] = {
    F(ProjectRecord, NAME, TVO_FIELD_NAME, kText),
    F(ProjectRecord, FIELD_DATE, TVO_FIELD_FIELD_DATE, kText),
    F(ProjectRecord, CREATION_DATE, TVO_FIELD_Date, kDateTime),
    F(ProjectRecord, FIELD_PARTY, TVO_FIELD_FIELD_PARTY, kText),
    F(ProjectRecord, OPERATOR, TVO_FIELD_OPERATOR, kText),
    F(ProjectRecord, CLIENT, TVO_FIELD_CLIENT, kText),
    F(ProjectRecord, ADDRESS, TVO_FIELD_ADDRESS, kText),
    F(ProjectRecord, CITY, TVO_FIELD_CITY, kText),
    F(ProjectRecord, MAPREF, TVO_FIELD_MAPREF, kText),
    F(ProjectRecord, REFERENCE, TVO_FIELD_REFERENCE, kText),
    F(ProjectRecord, DESCRIPTION, TVO_FIELD_Description, kText),
    kEnd,
};

constexpr FieldDef kSubjectFields[] = {
    F(SubjectRecord, SubjectNo, TVO_FIELD_SubjectNo, kUint16),
    F(SubjectRecord, Name, TVO_FIELD_SubjectName, kText),
    kEnd,
};

constexpr FieldDef kLayerFields[] = {
    F(LayerRecord, LayerNo, TVO_FIELD_LayerNo, kUint16),
    F(LayerRecord, Name, TVO_FIELD_LayerName, kText),
    F(LayerRecord, Flags, TVO_FIELD_LayerFlags, kBits),
    kEnd,
};

constexpr FieldDef kSubjectLayerFields[] = {
    F(SubjectLayerRecord, SubjectNo, TVO_FIELD_SubjectNo, kUint16),
    F(SubjectLayerRecord, LayerNo, TVO_FIELD_LayerNo, kUint16),
    kEnd,
};

constexpr FieldDef kChoiceFields[] = {
    F(ChoiceRecord, ListNo, TVO_FIELD_ListNo, kUint16),
    F(ChoiceRecord, Element, TVO_FIELD_Element, kText),
    kEnd,
};

constexpr FieldDef kCodeListFields[] = {
    F(CodeListRecord, NAME, TVO_FIELD_CodeListName, kText),
    F(CodeListRecord, AUTHOR, TVO_FIELD_OPERATOR, kText),
    F(CodeListRecord, DATE, TVO_FIELD_Date, kDateTime),
    F(CodeListRecord, TEMPLATE_ID, TVO_FIELD_TEMPLATE_ID, kUint16),
    kEnd,
};

constexpr FieldDef kCodeFields[] = {
    F(CodeRecord, CodeNo, TVO_FIELD_CodeNo, kUint16),
    F(CodeRecord, Code, TVO_FIELD_Code, kText),
    F(CodeRecord, Name, TVO_FIELD_CodeName, kText),
    F(CodeRecord, OBJTYPE, TVO_FIELD_OBJTYPE, kEnum).in(EnumGroup::kObjectType),
    F(CodeRecord, LayerNo, TVO_FIELD_LayerNo, kUint16),
    F(CodeRecord, Shortcut, TVO_FIELD_Shortcut, kUint16),
    kEnd,
};

constexpr FieldDef kAttributeFields[] = {
    F(AttributeRecord, Attribute, TVO_FIELD_Attribute, kText),
    F(AttributeRecord, DATATYPE, TVO_FIELD_DATATYPE, kEnum).in(EnumGroup::kDataType),
    F(AttributeRecord, CodeNo, TVO_FIELD_CodeNo, kUint16),
    F(AttributeRecord, Code, TVO_FIELD_Code, kText),
    F(AttributeRecord, ListNo, TVO_FIELD_ListNo, kUint16),
    F(AttributeRecord, MANDATORY, TVO_FIELD_MANDATORY, kEnum).in(EnumGroup::kYesNo),
    F(AttributeRecord, HIDDEN, TVO_FIELD_HIDDEN, kEnum).in(EnumGroup::kYesNo),
    F(AttributeRecord, HIDEALWAYS, TVO_FIELD_HIDEALWAYS, kEnum).in(EnumGroup::kYesNo),
    F(AttributeRecord, Default, TVO_FIELD_Default, kDefault),
    F(AttributeRecord, RangeLow, TVO_FIELD_RangeLow, kDouble).with(DecimalKind::kGeographic),
    F(AttributeRecord, RangeHigh, TVO_FIELD_RangeHigh, kDouble).with(DecimalKind::kGeographic),
    kEnd,
};

constexpr FieldDef kJobFields[] = {
    F(JobRecord, JobNo, TVO_FIELD_JobNo, kUint16),
    F(JobRecord, Name, TVO_FIELD_JobName, kText),
    F(JobRecord, Operator, TVO_FIELD_OPERATOR, kText),
    F(JobRecord, FieldParty, TVO_FIELD_FieldParty, kText),
    F(JobRecord, Date, TVO_FIELD_Date, kDateTime),
    F(JobRecord, TimeZone, TVO_FIELD_TimeZone, kFloat),
    kEnd,
};

constexpr FieldDef kPointFields[] = {
    F(PointRecord, PointNo, TVO_FIELD_PointNo, kUint32),
    F(PointRecord, PointID, TVO_FIELD_PointID, kText),
    F(PointRecord, JobNo, TVO_FIELD_JobNo, kUint16),
    F(PointRecord, CLASS, TVO_FIELD_CLASS, kEnum).in(EnumGroup::kPointClass),
    F(PointRecord, SYS, TVO_FIELD_SYS, kUint8),
    F(PointRecord, East, TVO_FIELD_East, kDouble).with(DecimalKind::kLinear),
    F(PointRecord, North, TVO_FIELD_North, kDouble).with(DecimalKind::kLinear),
    F(PointRecord, Elevation, TVO_FIELD_Elevation, kDouble).with(DecimalKind::kLinear),
    F(PointRecord, Longitude, TVO_FIELD_Longitude, kDouble).with(DecimalKind::kGeographic),
    F(PointRecord, Latitude, TVO_FIELD_Latitude, kDouble).with(DecimalKind::kGeographic),
    F(PointRecord, EllHeight, TVO_FIELD_Height, kDouble).with(DecimalKind::kLinear),
    F(PointRecord, X, TVO_FIELD_X, kDouble).with(DecimalKind::kLinear),
    F(PointRecord, Y, TVO_FIELD_Y, kDouble).with(DecimalKind::kLinear),
    F(PointRecord, Z, TVO_FIELD_Z, kDouble).with(DecimalKind::kLinear),
    F(PointRecord, PrjSetNo, TVO_FIELD_PrjSetNo, kUint16),
    F(PointRecord, CodeNo, TVO_FIELD_CodeNo, kUint16),
    F(PointRecord, Code, TVO_FIELD_Code, kText),
    F(PointRecord, Description, TVO_FIELD_Description, kText),
    F(PointRecord, Date, TVO_FIELD_Date, kDateTime),
    F(PointRecord, Color, TVO_FIELD_Color, kUint32),
    F(PointRecord, LayerNo, TVO_FIELD_LayerNo, kUint16),
    F(PointRecord, SymNo1, TVO_FIELD_SymNo1, kUint16),
    F(PointRecord, SymNo2, TVO_FIELD_SymNo2, kUint16),
    F(PointRecord, SymDim1, TVO_FIELD_SymDim1, kFloat),
    F(PointRecord, SymDim2, TVO_FIELD_SymDim2, kFloat),
    F(PointRecord, SymDir, TVO_FIELD_SymDir, kFloat).with(DecimalKind::kAngular),
    F(PointRecord, RoundingXY, TVO_FIELD_RoundingXY, kUint8),
    F(PointRecord, RoundingZ, TVO_FIELD_RoundingZ, kUint8),
    F(PointRecord, MajorAxisDir, TVO_FIELD_MajorAxisDir, kFloat).with(DecimalKind::kAngular),
    F(PointRecord, SourceXY, TVO_FIELD_SourceXY, kUint8),
    F(PointRecord, SourceZ, TVO_FIELD_SourceZ, kUint8),
    F(PointRecord, Geoid, TVO_FIELD_Geoid, kFloat).with(DecimalKind::kLinear),
    F(PointRecord, Flags, TVO_FIELD_PointFlags, kBits),
    kEnd,
};

constexpr FieldDef kPointAccuracyFields[] = {
    F(PointAccuracyRecord, PointNo, TVO_FIELD_PointNo, kUint32),
    F(PointAccuracyRecord, PointID, TVO_FIELD_PointID, kText),
    F(PointAccuracyRecord, Mo, TVO_FIELD_Mo, kFloat).with(DecimalKind::kLinear),
    F(PointAccuracyRecord, A11, TVO_FIELD_A11, kDouble).with(DecimalKind::kGeographic),
    F(PointAccuracyRecord, A12, TVO_FIELD_A12, kDouble).with(DecimalKind::kGeographic),
    F(PointAccuracyRecord, A13, TVO_FIELD_A13, kDouble).with(DecimalKind::kGeographic),
    F(PointAccuracyRecord, A22, TVO_FIELD_A22, kDouble).with(DecimalKind::kGeographic),
    F(PointAccuracyRecord, A23, TVO_FIELD_A23, kDouble).with(DecimalKind::kGeographic),
    F(PointAccuracyRecord, A33, TVO_FIELD_A33, kDouble).with(DecimalKind::kGeographic),
    kEnd,
};

constexpr FieldDef kLineFields[] = {
    F(LineRecord, LineNo, TVO_FIELD_LineNo, kUint32),
    F(LineRecord, LineID, TVO_FIELD_LineID, kText),
    F(LineRecord, JobNo, TVO_FIELD_JobNo, kUint16),
    F(LineRecord, CodeNo, TVO_FIELD_CodeNo, kUint16),
    F(LineRecord, Code, TVO_FIELD_Code, kText),
    F(LineRecord, Description, TVO_FIELD_Description, kText),
    F(LineRecord, Color, TVO_FIELD_Color, kUint32),
    F(LineRecord, LayerNo, TVO_FIELD_LayerNo, kUint16),
    F(LineRecord, LineStyle, TVO_FIELD_LineStyle, kUint16),
    F(LineRecord, DistType, TVO_FIELD_DistType, kUint8),
    F(LineRecord, BrgRoundNo, TVO_FIELD_BrgRoundNo, kUint8),
    F(LineRecord, DistRoundNo, TVO_FIELD_DistRoundNo, kUint8),
    F(LineRecord, CurveFactor, TVO_FIELD_CurveFactor, kUint8),
    F(LineRecord, ExagFactor, TVO_FIELD_ExagFactor, kUint16),
    F(LineRecord, Flags1, TVO_FIELD_Flags1, kBits),
    F(LineRecord, Flags2, TVO_FIELD_Flags2, kBits),
    kEnd,
};

constexpr FieldDef kPolygonFields[] = {
    F(PolygonRecord, PolygonNo, TVO_FIELD_PolygonNo, kUint32),
    F(PolygonRecord, PolygonID, TVO_FIELD_PolygonID, kText),
    F(PolygonRecord, JobNo, TVO_FIELD_JobNo, kUint16),
    F(PolygonRecord, CodeNo, TVO_FIELD_CodeNo, kUint16),
    F(PolygonRecord, Code, TVO_FIELD_Code, kText),
    F(PolygonRecord, Description, TVO_FIELD_Description, kText),
    F(PolygonRecord, Color, TVO_FIELD_Color, kUint32),
    F(PolygonRecord, LayerNo, TVO_FIELD_LayerNo, kUint16),
    F(PolygonRecord, HatchColor, TVO_FIELD_HatchColor, kUint32),
    F(PolygonRecord, FillType, TVO_FIELD_FillType, kUint8),
    F(PolygonRecord, HatchDir, TVO_FIELD_HatchDir, kFloat).with(DecimalKind::kAngular),
    F(PolygonRecord, LineStyle, TVO_FIELD_LineStyle, kUint16),
    F(PolygonRecord, LineSpace, TVO_FIELD_LineSpace, kFloat),
    F(PolygonRecord, SymNo, TVO_FIELD_SymNo, kUint16),
    F(PolygonRecord, SymDim1, TVO_FIELD_SymDim1, kFloat),
    F(PolygonRecord, SymDim2, TVO_FIELD_SymDim2, kFloat),
    F(PolygonRecord, SymDir, TVO_FIELD_SymDir, kFloat).with(DecimalKind::kAngular),
    F(PolygonRecord, SymSpace, TVO_FIELD_SymSpace, kFloat),
    F(PolygonRecord, EdgeLength, TVO_FIELD_EdgeLength, kFloat),
    F(PolygonRecord, AngleRoundNo, TVO_FIELD_AngleRoundNo, kUint8),
    F(PolygonRecord, AreaRoundNo, TVO_FIELD_AreaRoundNo, kUint8),
    F(PolygonRecord, Flags, TVO_FIELD_PolygonFlags, kBits),
    kEnd,
};

constexpr FieldDef kEdgeFields[] = {
    F(EdgeRecord, LineNo, TVO_FIELD_LineNo, kUint32),
    F(EdgeRecord, PolygonNo, TVO_FIELD_PolygonNo, kUint32),
    F(EdgeRecord, StartPt, TVO_FIELD_StartPt, kUint32),
    F(EdgeRecord, StartPtID, TVO_FIELD_StartPtID, kText),
    F(EdgeRecord, EndPt, TVO_FIELD_EndPt, kUint32),
    F(EdgeRecord, EndPtID, TVO_FIELD_EndPtID, kText),
    F(EdgeRecord, LINETYPE, TVO_FIELD_LINETYPE, kEnum).in(EnumGroup::kEdgeType),
    kEnd,
};

constexpr FieldDef kThemInfoFields[] = {
    NAMED(ThemInfoRecord, OwnerNo, "PointNo", TVO_FIELD_PointNo, kUint32),
    F(ThemInfoRecord, PointID, TVO_FIELD_PointID, kText),
    NAMED(ThemInfoRecord, OwnerNo, "LineNo", TVO_FIELD_LineNo, kUint32),
    NAMED(ThemInfoRecord, OwnerNo, "PolygonNo", TVO_FIELD_PolygonNo, kUint32),
    F(ThemInfoRecord, Attribute, TVO_FIELD_Attribute, kText),
    F(ThemInfoRecord, Value, TVO_FIELD_Value, kFree),
    kEnd,
};

constexpr FieldDef kAnnotationFields[] = {
    F(AnnotationRecord, PointNo, TVO_FIELD_PointNo, kUint32),
    F(AnnotationRecord, PointID, TVO_FIELD_PointID, kText),
    F(AnnotationRecord, LineNo, TVO_FIELD_LineNo, kUint32),
    F(AnnotationRecord, PolygonNo, TVO_FIELD_PolygonNo, kUint32),
    F(AnnotationRecord, TYPE, TVO_FIELD_TYPE, kEnum).in(EnumGroup::kNoteKind),
    F(AnnotationRecord, Annotation, TVO_FIELD_Annotation, kText),
    kEnd,
};

constexpr FieldDef kElementsFields[] = {
    F(ElementsRecord, StnNo, TVO_FIELD_StnNo, kUint32),
    F(ElementsRecord, StnID, TVO_FIELD_StnID, kText),
    F(ElementsRecord, Date, TVO_FIELD_Date, kDateTime),
    F(ElementsRecord, WetTemp, TVO_FIELD_WetTemp, kFloat),
    F(ElementsRecord, DryTemp, TVO_FIELD_DryTemp, kFloat),
    F(ElementsRecord, AtmPress, TVO_FIELD_AtmPress, kFloat),
    F(ElementsRecord, RefCoeff, TVO_FIELD_RefCoeff, kFloat).with(DecimalKind::kLinear),
    F(ElementsRecord, Note, TVO_FIELD_Note, kText),
    kEnd,
};

constexpr FieldDef kInstrumentFields[] = {
    F(InstrumentRecord, Name, TVO_FIELD_InstrName, kText),
    F(InstrumentRecord, TheoNo, TVO_FIELD_TheoNo, kUint32),
    F(InstrumentRecord, EDMNo, TVO_FIELD_EDMNo, kUint32),
    kEnd,
};

constexpr FieldDef kConfigFields[] = {
    F(ConfigRecord, CfgNo, TVO_FIELD_CfgNo, kUint16),
    F(ConfigRecord, InstrName, TVO_FIELD_InstrName, kText),
    F(ConfigRecord, Date, TVO_FIELD_Date, kDateTime),
    F(ConfigRecord, AddConst, TVO_FIELD_AddConst, kFloat).from(UnitKind::kLinear),
    F(ConfigRecord, Collimation, TVO_FIELD_Collimation, kDouble).from(UnitKind::kAngular),
    F(ConfigRecord, TiltAxis, TVO_FIELD_TiltAxis, kDouble).from(UnitKind::kAngular),
    F(ConfigRecord, Index, TVO_FIELD_Index, kDouble).from(UnitKind::kAngular),
    kEnd,
};

constexpr FieldDef kAprioriErrorFields[] = {
    F(AprioriErrorRecord, CfgNo, TVO_FIELD_CfgNo, kUint16),
    F(AprioriErrorRecord, Hz, TVO_FIELD_Hz, kDouble).from(UnitKind::kAngular),
    F(AprioriErrorRecord, Vz, TVO_FIELD_Vz, kDouble).from(UnitKind::kAngular),
    F(AprioriErrorRecord, SDist, TVO_FIELD_SDist, kFloat).from(UnitKind::kLinear),
    F(AprioriErrorRecord, InstrHt, TVO_FIELD_InstrHt, kFloat).from(UnitKind::kLinear),
    F(AprioriErrorRecord, RefHt, TVO_FIELD_RefHt, kFloat).from(UnitKind::kLinear),
    kEnd,
};

constexpr FieldDef kSetupFields[] = {
    F(SetupRecord, STN_NO, TVO_FIELD_StnNo, kUint32),
    F(SetupRecord, STN_ID, TVO_FIELD_StnID, kText),
    F(SetupRecord, INST_HT, TVO_FIELD_InstrHt, kFloat).from(UnitKind::kLinear),
    NAMED(SetupRecord, Date, "", TVO_FIELD_Date, kDateTime),
    kEnd,
};

constexpr FieldDef kSlopeFields[] = {
    F(SlopeRecord, TgtNo, TVO_FIELD_TgtNo, kUint32),
    F(SlopeRecord, TgtID, TVO_FIELD_TgtID, kText),
    F(SlopeRecord, Hz, TVO_FIELD_Hz, kDouble).from(UnitKind::kAngular),
    F(SlopeRecord, Vz, TVO_FIELD_Vz, kDouble).from(UnitKind::kAngular),
    F(SlopeRecord, SDist, TVO_FIELD_SDist, kDouble).from(UnitKind::kLinear),
    F(SlopeRecord, RefHt, TVO_FIELD_RefHt, kFloat).from(UnitKind::kLinear),
    F(SlopeRecord, Ppm, TVO_FIELD_Ppm, kFloat).with(DecimalKind::kLinear),
    F(SlopeRecord, Ori, TVO_FIELD_Ori, kDouble).from(UnitKind::kAngular),
    F(SlopeRecord, CfgNo, TVO_FIELD_SlopeCfgNo, kUint16),
    F(SlopeRecord, Date, TVO_FIELD_Date, kDateTime),
    F(SlopeRecord, OffsetUp, TVO_FIELD_OffsetUp, kFloat).from(UnitKind::kLinear),
    F(SlopeRecord, OffsetRight, TVO_FIELD_OffsetRight, kFloat).from(UnitKind::kLinear),
    F(SlopeRecord, OffsetAway, TVO_FIELD_OffsetAway, kFloat).from(UnitKind::kLinear),
    F(SlopeRecord, InclinLength, TVO_FIELD_InclinLength, kDouble).from(UnitKind::kAngular),
    F(SlopeRecord, InclinCross, TVO_FIELD_InclinCross, kDouble).from(UnitKind::kAngular),
    F(SlopeRecord, ApplType, TVO_FIELD_ApplType, kUint8),
    F(SlopeRecord, Flags, TVO_FIELD_SlopeFlags, kBits),
    F(SlopeRecord, Note, TVO_FIELD_Note, kText),
    kEnd,
};

constexpr FieldDef kEllipsoidFields[] = {
    F(EllipsoidRecord, EllipsoidNo, TVO_FIELD_EllipsoidNo, kUint16),
    F(EllipsoidRecord, Name, TVO_FIELD_EllipsoidName, kText),
    F(EllipsoidRecord, A, TVO_FIELD_EllipsoidA, kDouble).with(DecimalKind::kGeographic),
    F(EllipsoidRecord, F, TVO_FIELD_EllipsoidF, kDouble).with(DecimalKind::kGeographic),
    F(EllipsoidRecord, Date, TVO_FIELD_Date, kDateTime),
    kEnd,
};

constexpr FieldDef kUtmFields[] = {
    F(UtmRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16),
    F(UtmRecord, Name, TVO_FIELD_MapPrjName, kText),
    F(UtmRecord, Date, TVO_FIELD_Date, kDateTime),
    F(UtmRecord, Flags, TVO_FIELD_PrjFlags, kBits),
    F(UtmRecord, MinLat, TVO_FIELD_MinLat, kDouble).from(UnitKind::kGeographic),
    F(UtmRecord, MaxLat, TVO_FIELD_MaxLat, kDouble).from(UnitKind::kGeographic),
    F(UtmRecord, MinLong, TVO_FIELD_MinLong, kDouble).from(UnitKind::kGeographic),
    F(UtmRecord, MaxLong, TVO_FIELD_MaxLong, kDouble).from(UnitKind::kGeographic),
    F(UtmRecord, Geoid, TVO_FIELD_Geoid, kFloat).from(UnitKind::kLinear),
    F(UtmRecord, ZoneNo, TVO_FIELD_ZoneNo, kUint16),
    F(UtmRecord, HEMISPHERE, TVO_FIELD_HEMISPHERE, kEnum).in(EnumGroup::kHemisphere),
    kEnd,
};

constexpr FieldDef kLambertFields[] = {
    F(LambertRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16),
    F(LambertRecord, Name, TVO_FIELD_MapPrjName, kText),
    F(LambertRecord, Date, TVO_FIELD_Date, kDateTime),
    F(LambertRecord, Flags, TVO_FIELD_PrjFlags, kBits),
    F(LambertRecord, MinLat, TVO_FIELD_MinLat, kDouble).from(UnitKind::kGeographic),
    F(LambertRecord, MaxLat, TVO_FIELD_MaxLat, kDouble).from(UnitKind::kGeographic),
    F(LambertRecord, MinLong, TVO_FIELD_MinLong, kDouble).from(UnitKind::kGeographic),
    F(LambertRecord, MaxLong, TVO_FIELD_MaxLong, kDouble).from(UnitKind::kGeographic),
    F(LambertRecord, Geoid, TVO_FIELD_Geoid, kFloat).from(UnitKind::kLinear),
    F(LambertRecord, FalseEast, TVO_FIELD_FalseEast, kDouble).from(UnitKind::kLinear),
    F(LambertRecord, FalseNorth, TVO_FIELD_FalseNorth, kDouble).from(UnitKind::kLinear),
    F(LambertRecord, OriginLat, TVO_FIELD_OriginLat, kDouble).from(UnitKind::kGeographic),
    F(LambertRecord, OriginLong, TVO_FIELD_OriginLong, kDouble).from(UnitKind::kGeographic),
    F(LambertRecord, PhiNorth, TVO_FIELD_PhiNorth, kDouble).from(UnitKind::kGeographic),
    F(LambertRecord, PhiSouth, TVO_FIELD_PhiSouth, kDouble).from(UnitKind::kGeographic),
    F(LambertRecord, HEMISPHERE, TVO_FIELD_HEMISPHERE, kEnum).in(EnumGroup::kHemisphere),
    NOT_KEPT(LambertRecord, LAMPRJ_TYPE, TVO_FIELD_TYPE, kEnum),
    kEnd,
};

constexpr FieldDef kLambertWithScaleFields[] = {
    F(LambertWithScaleRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16),
    F(LambertWithScaleRecord, Name, TVO_FIELD_MapPrjName, kText),
    F(LambertWithScaleRecord, Date, TVO_FIELD_Date, kDateTime),
    F(LambertWithScaleRecord, Flags, TVO_FIELD_PrjFlags, kBits),
    F(LambertWithScaleRecord, MinLat, TVO_FIELD_MinLat, kDouble).from(UnitKind::kGeographic),
    F(LambertWithScaleRecord, MaxLat, TVO_FIELD_MaxLat, kDouble).from(UnitKind::kGeographic),
    F(LambertWithScaleRecord, MinLong, TVO_FIELD_MinLong, kDouble).from(UnitKind::kGeographic),
    F(LambertWithScaleRecord, MaxLong, TVO_FIELD_MaxLong, kDouble).from(UnitKind::kGeographic),
    F(LambertWithScaleRecord, Geoid, TVO_FIELD_Geoid, kFloat).from(UnitKind::kLinear),
    F(LambertWithScaleRecord, FalseEast, TVO_FIELD_FalseEast, kDouble).from(UnitKind::kLinear),
    F(LambertWithScaleRecord, FalseNorth, TVO_FIELD_FalseNorth, kDouble).from(UnitKind::kLinear),
    F(LambertWithScaleRecord, OriginLat, TVO_FIELD_OriginLat, kDouble).from(UnitKind::kGeographic),
    F(LambertWithScaleRecord, OriginLong, TVO_FIELD_OriginLong, kDouble)
        .from(UnitKind::kGeographic),
    F(LambertWithScaleRecord, Phi, TVO_FIELD_Phi, kDouble).from(UnitKind::kGeographic),
    F(LambertWithScaleRecord, Scale, TVO_FIELD_Scale, kDouble).with(DecimalKind::kGeographic),
    F(LambertWithScaleRecord, HEMISPHERE, TVO_FIELD_HEMISPHERE, kEnum).in(EnumGroup::kHemisphere),
    kEnd,
};

constexpr FieldDef kMercatorFields[] = {
    F(MercatorRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16),
    F(MercatorRecord, Name, TVO_FIELD_MapPrjName, kText),
    F(MercatorRecord, Date, TVO_FIELD_Date, kDateTime),
    F(MercatorRecord, Flags, TVO_FIELD_PrjFlags, kBits),
    F(MercatorRecord, MinLat, TVO_FIELD_MinLat, kDouble).from(UnitKind::kGeographic),
    F(MercatorRecord, MaxLat, TVO_FIELD_MaxLat, kDouble).from(UnitKind::kGeographic),
    F(MercatorRecord, MinLong, TVO_FIELD_MinLong, kDouble).from(UnitKind::kGeographic),
    F(MercatorRecord, MaxLong, TVO_FIELD_MaxLong, kDouble).from(UnitKind::kGeographic),
    F(MercatorRecord, Geoid, TVO_FIELD_Geoid, kFloat).from(UnitKind::kLinear),
    F(MercatorRecord, FalseEast, TVO_FIELD_FalseEast, kDouble).from(UnitKind::kLinear),
    F(MercatorRecord, FalseNorth, TVO_FIELD_FalseNorth, kDouble).from(UnitKind::kLinear),
    F(MercatorRecord, OriginLat, TVO_FIELD_OriginLat, kDouble).from(UnitKind::kGeographic),
    F(MercatorRecord, OriginLong, TVO_FIELD_OriginLong, kDouble).from(UnitKind::kGeographic),
    F(MercatorRecord, Scale, TVO_FIELD_Scale, kDouble).with(DecimalKind::kGeographic),
    F(MercatorRecord, ZoneWidth, TVO_FIELD_ZoneWidth, kDouble).from(UnitKind::kGeographic),
    F(MercatorRecord, HEMISPHERE, TVO_FIELD_HEMISPHERE, kEnum).in(EnumGroup::kHemisphere),
    NOT_KEPT(MercatorRecord, MERCPRJ_TYPE, TVO_FIELD_TYPE, kEnum),
    kEnd,
};

constexpr FieldDef kMercator2Fields[] = {
    F(Mercator2Record, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16),
    F(Mercator2Record, Name, TVO_FIELD_MapPrjName, kText),
    F(Mercator2Record, Date, TVO_FIELD_Date, kDateTime),
    F(Mercator2Record, Flags, TVO_FIELD_PrjFlags, kBits),
    F(Mercator2Record, MinLat, TVO_FIELD_MinLat, kDouble).from(UnitKind::kGeographic),
    F(Mercator2Record, MaxLat, TVO_FIELD_MaxLat, kDouble).from(UnitKind::kGeographic),
    F(Mercator2Record, MinLong, TVO_FIELD_MinLong, kDouble).from(UnitKind::kGeographic),
    F(Mercator2Record, MaxLong, TVO_FIELD_MaxLong, kDouble).from(UnitKind::kGeographic),
    F(Mercator2Record, Geoid, TVO_FIELD_Geoid, kFloat).from(UnitKind::kLinear),
    F(Mercator2Record, FalseEast, TVO_FIELD_FalseEast, kDouble).from(UnitKind::kLinear),
    F(Mercator2Record, FalseNorth, TVO_FIELD_FalseNorth, kDouble).from(UnitKind::kLinear),
    F(Mercator2Record, OriginLong, TVO_FIELD_OriginLong, kDouble).from(UnitKind::kGeographic),
    F(Mercator2Record, HEMISPHERE, TVO_FIELD_HEMISPHERE, kEnum).in(EnumGroup::kHemisphere),
    kEnd,
};

constexpr FieldDef kObliqueMercatorFields[] = {
    F(ObliqueMercatorRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16),
    F(ObliqueMercatorRecord, Name, TVO_FIELD_MapPrjName, kText),
    F(ObliqueMercatorRecord, Date, TVO_FIELD_Date, kDateTime),
    F(ObliqueMercatorRecord, Flags, TVO_FIELD_PrjFlags, kBits),
    F(ObliqueMercatorRecord, MinLat, TVO_FIELD_MinLat, kDouble).from(UnitKind::kGeographic),
    F(ObliqueMercatorRecord, MaxLat, TVO_FIELD_MaxLat, kDouble).from(UnitKind::kGeographic),
    F(ObliqueMercatorRecord, MinLong, TVO_FIELD_MinLong, kDouble).from(UnitKind::kGeographic),
    F(ObliqueMercatorRecord, MaxLong, TVO_FIELD_MaxLong, kDouble).from(UnitKind::kGeographic),
    F(ObliqueMercatorRecord, Geoid, TVO_FIELD_Geoid, kFloat).from(UnitKind::kLinear),
    F(ObliqueMercatorRecord, FalseEast, TVO_FIELD_FalseEast, kDouble).from(UnitKind::kLinear),
    F(ObliqueMercatorRecord, FalseNorth, TVO_FIELD_FalseNorth, kDouble).from(UnitKind::kLinear),
    F(ObliqueMercatorRecord, OriginLat, TVO_FIELD_OriginLat, kDouble).from(UnitKind::kGeographic),
    F(ObliqueMercatorRecord, OriginLong, TVO_FIELD_OriginLong, kDouble).from(UnitKind::kGeographic),
    F(ObliqueMercatorRecord, Scale, TVO_FIELD_Scale, kDouble).with(DecimalKind::kGeographic),
    F(ObliqueMercatorRecord, SkewAxis, TVO_FIELD_SkewAxis, kDouble).from(UnitKind::kGeographic),
    F(ObliqueMercatorRecord, HEMISPHERE, TVO_FIELD_HEMISPHERE, kEnum).in(EnumGroup::kHemisphere),
    F(ObliqueMercatorRecord, ANGLETYPE, TVO_FIELD_ANGLETYPE, kEnum).in(EnumGroup::kSkewAngle),
    kEnd,
};

constexpr FieldDef kStereographicFields[] = {
    F(StereographicRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16),
    F(StereographicRecord, Name, TVO_FIELD_MapPrjName, kText),
    F(StereographicRecord, Date, TVO_FIELD_Date, kDateTime),
    F(StereographicRecord, Flags, TVO_FIELD_PrjFlags, kBits),
    F(StereographicRecord, MinLat, TVO_FIELD_MinLat, kDouble).from(UnitKind::kGeographic),
    F(StereographicRecord, MaxLat, TVO_FIELD_MaxLat, kDouble).from(UnitKind::kGeographic),
    F(StereographicRecord, MinLong, TVO_FIELD_MinLong, kDouble).from(UnitKind::kGeographic),
    F(StereographicRecord, MaxLong, TVO_FIELD_MaxLong, kDouble).from(UnitKind::kGeographic),
    F(StereographicRecord, Geoid, TVO_FIELD_Geoid, kFloat).from(UnitKind::kLinear),
    F(StereographicRecord, FalseEast, TVO_FIELD_FalseEast, kDouble).from(UnitKind::kLinear),
    F(StereographicRecord, FalseNorth, TVO_FIELD_FalseNorth, kDouble).from(UnitKind::kLinear),
    F(StereographicRecord, OriginLat, TVO_FIELD_OriginLat, kDouble).from(UnitKind::kGeographic),
    F(StereographicRecord, OriginLong, TVO_FIELD_OriginLong, kDouble).from(UnitKind::kGeographic),
    F(StereographicRecord, Scale, TVO_FIELD_Scale, kDouble).with(DecimalKind::kGeographic),
    F(StereographicRecord, HEMISPHERE, TVO_FIELD_HEMISPHERE, kEnum).in(EnumGroup::kHemisphere),
    kEnd,
};

constexpr FieldDef kRsoFields[] = {
    F(RsoRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16),
    F(RsoRecord, Name, TVO_FIELD_MapPrjName, kText),
    F(RsoRecord, Date, TVO_FIELD_Date, kDateTime),
    F(RsoRecord, Flags, TVO_FIELD_PrjFlags, kBits),
    F(RsoRecord, MinLat, TVO_FIELD_MinLat, kDouble).from(UnitKind::kGeographic),
    F(RsoRecord, MaxLat, TVO_FIELD_MaxLat, kDouble).from(UnitKind::kGeographic),
    F(RsoRecord, MinLong, TVO_FIELD_MinLong, kDouble).from(UnitKind::kGeographic),
    F(RsoRecord, MaxLong, TVO_FIELD_MaxLong, kDouble).from(UnitKind::kGeographic),
    F(RsoRecord, Geoid, TVO_FIELD_Geoid, kFloat).from(UnitKind::kLinear),
    F(RsoRecord, FalseEast, TVO_FIELD_FalseEast, kDouble).from(UnitKind::kLinear),
    F(RsoRecord, FalseNorth, TVO_FIELD_FalseNorth, kDouble).from(UnitKind::kLinear),
    F(RsoRecord, OriginLat, TVO_FIELD_OriginLat, kDouble).from(UnitKind::kGeographic),
    F(RsoRecord, OriginLong, TVO_FIELD_OriginLong, kDouble).from(UnitKind::kGeographic),
    F(RsoRecord, SkewAxis, TVO_FIELD_SkewAxis, kDouble).from(UnitKind::kGeographic),
    F(RsoRecord, Scale, TVO_FIELD_Scale, kDouble).with(DecimalKind::kGeographic),
    F(RsoRecord, RECTIFYTYPE, TVO_FIELD_RECTIFYTYPE, kEnum),
    F(RsoRecord, ANGLETYPE, TVO_FIELD_ANGLETYPE, kEnum).in(EnumGroup::kSkewAngle),
    F(RsoRecord, HEMISPHERE, TVO_FIELD_HEMISPHERE, kEnum).in(EnumGroup::kHemisphere),
    kEnd,
};

constexpr FieldDef kCassiniSoldnerFields[] = {
    F(CassiniSoldnerRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16),
    F(CassiniSoldnerRecord, Name, TVO_FIELD_MapPrjName, kText),
    F(CassiniSoldnerRecord, Date, TVO_FIELD_Date, kDateTime),
    F(CassiniSoldnerRecord, Flags, TVO_FIELD_PrjFlags, kBits),
    F(CassiniSoldnerRecord, MinLat, TVO_FIELD_MinLat, kDouble).from(UnitKind::kGeographic),
    F(CassiniSoldnerRecord, MaxLat, TVO_FIELD_MaxLat, kDouble).from(UnitKind::kGeographic),
    F(CassiniSoldnerRecord, MinLong, TVO_FIELD_MinLong, kDouble).from(UnitKind::kGeographic),
    F(CassiniSoldnerRecord, MaxLong, TVO_FIELD_MaxLong, kDouble).from(UnitKind::kGeographic),
    F(CassiniSoldnerRecord, Geoid, TVO_FIELD_Geoid, kFloat).from(UnitKind::kLinear),
    F(CassiniSoldnerRecord, FalseEast, TVO_FIELD_FalseEast, kDouble).from(UnitKind::kLinear),
    F(CassiniSoldnerRecord, FalseNorth, TVO_FIELD_FalseNorth, kDouble).from(UnitKind::kLinear),
    F(CassiniSoldnerRecord, OriginLat, TVO_FIELD_OriginLat, kDouble).from(UnitKind::kGeographic),
    F(CassiniSoldnerRecord, OriginLong, TVO_FIELD_OriginLong, kDouble).from(UnitKind::kGeographic),
    F(CassiniSoldnerRecord, HEMISPHERE, TVO_FIELD_HEMISPHERE, kEnum).in(EnumGroup::kHemisphere),
    kEnd,
};

constexpr FieldDef kPlaneFields[] = {
    F(PlaneRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16),
    F(PlaneRecord, Name, TVO_FIELD_MapPrjName, kText),
    F(PlaneRecord, Date, TVO_FIELD_Date, kDateTime),
    F(PlaneRecord, Flags, TVO_FIELD_PrjFlags, kBits),
    F(PlaneRecord, Scale, TVO_FIELD_Scale, kDouble).with(DecimalKind::kGeographic),
    kEnd,
};

constexpr FieldDef kSpecialFields[] = {
    F(SpecialRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16),
    F(SpecialRecord, Name, TVO_FIELD_MapPrjName, kText),
    F(SpecialRecord, Date, TVO_FIELD_Date, kDateTime),
    F(SpecialRecord, Flags, TVO_FIELD_PrjFlags, kBits),
    F(SpecialRecord, SPPRJ_TYPE, TVO_FIELD_TYPE, kEnum).in(EnumGroup::kSpecialProjection),
    kEnd,
};

constexpr FieldDef kApprox1dFields[] = {
    F(Approx1dRecord, TrfNo, TVO_FIELD_TrfNo, kUint16),
    F(Approx1dRecord, Name, TVO_FIELD_TrfName, kText),
    F(Approx1dRecord, Date, TVO_FIELD_Date, kDateTime),
    F(Approx1dRecord, Flags, TVO_FIELD_TrfFlags, kBits),
    F(Approx1dRecord, Xo, TVO_FIELD_Xo, kDouble).with(DecimalKind::kGeographic),
    F(Approx1dRecord, Yo, TVO_FIELD_Yo, kDouble).with(DecimalKind::kGeographic),
    F(Approx1dRecord, A, TVO_FIELD_A, kDouble).with(DecimalKind::kGeographic),
    F(Approx1dRecord, B, TVO_FIELD_B, kDouble).with(DecimalKind::kGeographic),
    F(Approx1dRecord, C, TVO_FIELD_C, kDouble).with(DecimalKind::kGeographic),
    kEnd,
};

constexpr FieldDef kAffin2dFields[] = {
    F(Affin2dRecord, TrfNo, TVO_FIELD_TrfNo, kUint16),
    F(Affin2dRecord, Name, TVO_FIELD_TrfName, kText),
    F(Affin2dRecord, Date, TVO_FIELD_Date, kDateTime),
    F(Affin2dRecord, Flags, TVO_FIELD_TrfFlags, kBits),
    F(Affin2dRecord, Xo, TVO_FIELD_Xo, kDouble).with(DecimalKind::kGeographic),
    F(Affin2dRecord, Yo, TVO_FIELD_Yo, kDouble).with(DecimalKind::kGeographic),
    F(Affin2dRecord, A1, TVO_FIELD_A1, kDouble).with(DecimalKind::kGeographic),
    F(Affin2dRecord, A2, TVO_FIELD_A2, kDouble).with(DecimalKind::kGeographic),
    F(Affin2dRecord, A3, TVO_FIELD_A3, kDouble).with(DecimalKind::kGeographic),
    F(Affin2dRecord, B1, TVO_FIELD_B1, kDouble).with(DecimalKind::kGeographic),
    F(Affin2dRecord, B2, TVO_FIELD_B2, kDouble).with(DecimalKind::kGeographic),
    F(Affin2dRecord, B3, TVO_FIELD_B3, kDouble).with(DecimalKind::kGeographic),
    kEnd,
};

constexpr FieldDef kHelmert2dFields[] = {
    F(Helmert2dRecord, TrfNo, TVO_FIELD_TrfNo, kUint16),
    F(Helmert2dRecord, Name, TVO_FIELD_TrfName, kText),
    F(Helmert2dRecord, Date, TVO_FIELD_Date, kDateTime),
    F(Helmert2dRecord, Flags, TVO_FIELD_TrfFlags, kBits),
    F(Helmert2dRecord, Xo, TVO_FIELD_Xo, kDouble).with(DecimalKind::kGeographic),
    F(Helmert2dRecord, Yo, TVO_FIELD_Yo, kDouble).with(DecimalKind::kGeographic),
    F(Helmert2dRecord, dX, TVO_FIELD_dX, kDouble).with(DecimalKind::kGeographic),
    F(Helmert2dRecord, dY, TVO_FIELD_dY, kDouble).with(DecimalKind::kGeographic),
    F(Helmert2dRecord, Phi, TVO_FIELD_Phi, kDouble).with(DecimalKind::kGeographic),
    F(Helmert2dRecord, Scale, TVO_FIELD_Scale, kDouble).with(DecimalKind::kGeographic),
    F(Helmert2dRecord, MODEL, TVO_FIELD_MODEL, kEnum).in(EnumGroup::kModel),
    kEnd,
};

constexpr FieldDef kHelmert3dFields[] = {
    F(Helmert3dRecord, TrfNo, TVO_FIELD_TrfNo, kUint16),
    F(Helmert3dRecord, Name, TVO_FIELD_TrfName, kText),
    F(Helmert3dRecord, Date, TVO_FIELD_Date, kDateTime),
    F(Helmert3dRecord, Flags, TVO_FIELD_TrfFlags, kBits),
    F(Helmert3dRecord, Xo, TVO_FIELD_Xo, kDouble).with(DecimalKind::kGeographic),
    F(Helmert3dRecord, Yo, TVO_FIELD_Yo, kDouble).with(DecimalKind::kGeographic),
    F(Helmert3dRecord, Zo, TVO_FIELD_Zo, kDouble).with(DecimalKind::kGeographic),
    F(Helmert3dRecord, dX, TVO_FIELD_dX, kDouble).with(DecimalKind::kGeographic),
    F(Helmert3dRecord, dY, TVO_FIELD_dY, kDouble).with(DecimalKind::kGeographic),
    F(Helmert3dRecord, dZ, TVO_FIELD_dZ, kDouble).with(DecimalKind::kGeographic),
    F(Helmert3dRecord, PhiX, TVO_FIELD_PhiX, kDouble).with(DecimalKind::kGeographic),
    F(Helmert3dRecord, PhiY, TVO_FIELD_PhiY, kDouble).with(DecimalKind::kGeographic),
    F(Helmert3dRecord, PhiZ, TVO_FIELD_PhiZ, kDouble).with(DecimalKind::kGeographic),
    F(Helmert3dRecord, Scale, TVO_FIELD_Scale, kDouble).with(DecimalKind::kGeographic),
    F(Helmert3dRecord, MODEL, TVO_FIELD_MODEL, kEnum).in(EnumGroup::kModel),
    kEnd,
};

constexpr FieldDef kProjectionSetFields[] = {
    F(ProjectionSetRecord, PrjSetNo, TVO_FIELD_PrjSetNo, kUint16),
    F(ProjectionSetRecord, Name, TVO_FIELD_PrjSetName, kText),
    F(ProjectionSetRecord, EllipsoidNo, TVO_FIELD_EllipsoidNo, kUint16),
    F(ProjectionSetRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16),
    F(ProjectionSetRecord, LTrfNo, TVO_FIELD_LTrfNo, kUint16),
    F(ProjectionSetRecord, HTrfNo, TVO_FIELD_HTrfNo, kUint16),
    F(ProjectionSetRecord, Date, TVO_FIELD_Date, kDateTime),
    F(ProjectionSetRecord, Flags, TVO_FIELD_PrjFlags, kBits),
    F(ProjectionSetRecord, TYPE, TVO_FIELD_TYPE, kEnum).in(EnumGroup::kProjectionSet),
    kEnd,
};

constexpr FieldDef kTextPropertyFields[] = {
    F(TextPropertyRecord, TextPropertyNo, TVO_FIELD_TextPropertyNo, kUint16),
    F(TextPropertyRecord, Units, TVO_FIELD_Units, kUint16),
    F(TextPropertyRecord, Color, TVO_FIELD_Color, kUint16),
    F(TextPropertyRecord, Height, TVO_FIELD_Height, kFloat),
    F(TextPropertyRecord, Width, TVO_FIELD_Width, kFloat),
    F(TextPropertyRecord, CharSpacing, TVO_FIELD_CharSpacing, kFloat),
    F(TextPropertyRecord, LineSpacing, TVO_FIELD_LineSpace, kFloat),
    F(TextPropertyRecord, Style, TVO_FIELD_Style, kBits),
    F(TextPropertyRecord, SlantAngle, TVO_FIELD_SlantAngle, kFloat).with(DecimalKind::kAngular),
    F(TextPropertyRecord, Thickness, TVO_FIELD_Thickness, kFloat),
    F(TextPropertyRecord, Font, TVO_FIELD_Font, kText),
    kEnd,
};

constexpr FieldDef kTextBoxFields[] = {
    F(TextBoxRecord, TextBoxNo, TVO_FIELD_TextBoxNo, kUint16),
    F(TextBoxRecord, LayerNo, TVO_FIELD_LayerNo, kUint16),
    F(TextBoxRecord, Units, TVO_FIELD_Units, kUint16),
    F(TextBoxRecord, AnchorPosition, TVO_FIELD_AnchorPosition, kUint8),
    F(TextBoxRecord, AnchorPointNo, TVO_FIELD_AnchorPointNo, kUint32),
    F(TextBoxRecord, OffsetEast, TVO_FIELD_OffsetEast, kFloat).with(DecimalKind::kLinear),
    F(TextBoxRecord, OffsetNorth, TVO_FIELD_OffsetNorth, kFloat).with(DecimalKind::kLinear),
    F(TextBoxRecord, OffsetElevation, TVO_FIELD_OffsetElevation, kFloat).with(DecimalKind::kLinear),
    F(TextBoxRecord, HzDirection, TVO_FIELD_Hz, kFloat).with(DecimalKind::kAngular),
    kEnd,
};

constexpr FieldDef kTextItemFields[] = {
    F(TextItemRecord, TextItemNo, TVO_FIELD_TextItemNo, kUint16),
    F(TextItemRecord, TextBoxNo, TVO_FIELD_TextBoxNo, kUint16),
    F(TextItemRecord, TextPropertyNo, TVO_FIELD_TextPropertyNo, kUint16),
    F(TextItemRecord, LineNo, TVO_FIELD_LineNo, kUint16),
    F(TextItemRecord, TextItem, TVO_FIELD_TextItem, kText),
    kEnd,
};

#undef NAMED
#undef F
#undef NOT_KEPT

struct Pair {
  RecordType data, columns;
  size_t size;
  const FieldDef* fields;
  bool fits;  // every member lies inside the structure and none is split
};

template <size_t N>
constexpr Pair data(RecordType type, RecordType columns, size_t size, const FieldDef (&fields)[N]) {
  size_t covered = 0;
  bool fits = true;
  for (size_t i = 0; i + 1 < N; ++i) {
    if (fields[i].offset == kNotKept) {
      covered += sizeof(EnumId);
      continue;
    }
    const size_t bytes = storedSize(fields[i].type, fields[i].width);
    fits = fits && fields[i].offset + bytes <= size;
    bool shared = false;
    for (size_t j = 0; j < i; ++j) shared = shared || fields[j].offset == fields[i].offset;
    if (!shared) covered += bytes;
  }
  return {type, columns, size, fields, fits && covered == size && size <= kRecordRoom};
}

// Data record type, its columns record type, and their table.
constexpr Pair kPairs[] = {
    data(5, 1, sizeof(HeaderRecord), kHeaderFields),
    data(6, 2, sizeof(UnitsRecord), kUnitsFields),
    data(7, 3, sizeof(OffsetsRecord), kOffsetsFields),
    data(8, 4, sizeof(ProjectRecord), kProjectFields),
    data(16, 9, sizeof(SubjectRecord), kSubjectFields),
    data(17, 10, sizeof(LayerRecord), kLayerFields),
    data(18, 11, sizeof(SubjectLayerRecord), kSubjectLayerFields),
    data(19, 12, sizeof(ChoiceRecord), kChoiceFields),
    data(20, 13, sizeof(CodeListRecord), kCodeListFields),
    data(21, 14, sizeof(CodeRecord), kCodeFields),
    data(22, 15, sizeof(AttributeRecord), kAttributeFields),
    data(33, 23, sizeof(JobRecord), kJobFields),
    data(34, 24, sizeof(PointRecord), kPointFields),
    data(35, 25, sizeof(PointAccuracyRecord), kPointAccuracyFields),
    data(36, 26, sizeof(ThemInfoRecord), kThemInfoFields),
    data(37, 27, sizeof(LineRecord), kLineFields),
    data(38, 28, sizeof(EdgeRecord), kEdgeFields),
    data(39, 29, sizeof(ThemInfoRecord), kThemInfoFields),
    data(40, 30, sizeof(PolygonRecord), kPolygonFields),
    data(41, 31, sizeof(EdgeRecord), kEdgeFields),
    data(42, 32, sizeof(ThemInfoRecord), kThemInfoFields),
    data(44, 43, sizeof(ElementsRecord), kElementsFields),
    data(50, 45, sizeof(InstrumentRecord), kInstrumentFields),
    data(51, 46, sizeof(ConfigRecord), kConfigFields),
    data(52, 47, sizeof(AprioriErrorRecord), kAprioriErrorFields),
    data(53, 48, sizeof(SetupRecord), kSetupFields),
    data(54, 49, sizeof(SlopeRecord), kSlopeFields),
    data(59, 58, sizeof(AnnotationRecord), kAnnotationFields),
    data(62, 60, sizeof(AnnotationRecord), kAnnotationFields),
    data(63, 61, sizeof(AnnotationRecord), kAnnotationFields),
    data(77, 64, sizeof(EllipsoidRecord), kEllipsoidFields),
    data(78, 65, sizeof(UtmRecord), kUtmFields),
    data(79, 66, sizeof(LambertRecord), kLambertFields),
    data(80, 67, sizeof(MercatorRecord), kMercatorFields),
    data(81, 68, sizeof(ObliqueMercatorRecord), kObliqueMercatorFields),
    data(82, 69, sizeof(StereographicRecord), kStereographicFields),
    data(83, 70, sizeof(PlaneRecord), kPlaneFields),
    data(84, 71, sizeof(SpecialRecord), kSpecialFields),
    data(85, 72, sizeof(Approx1dRecord), kApprox1dFields),
    data(86, 73, sizeof(Affin2dRecord), kAffin2dFields),
    data(87, 74, sizeof(Helmert2dRecord), kHelmert2dFields),
    data(88, 75, sizeof(Helmert3dRecord), kHelmert3dFields),
    data(89, 76, sizeof(ProjectionSetRecord), kProjectionSetFields),
    data(95, 92, sizeof(TextPropertyRecord), kTextPropertyFields),
    data(96, 93, sizeof(TextBoxRecord), kTextBoxFields),
    data(97, 94, sizeof(TextItemRecord), kTextItemFields),
    data(103, 98, sizeof(LambertWithScaleRecord), kLambertWithScaleFields),
    data(104, 99, sizeof(Mercator2Record), kMercator2Fields),
    data(105, 100, sizeof(StereographicRecord), kStereographicFields),
    data(106, 101, sizeof(RsoRecord), kRsoFields),
    data(107, 102, sizeof(CassiniSoldnerRecord), kCassiniSoldnerFields),
};
static_assert(std::ranges::all_of(kPairs, [](const Pair& pair) { return pair.fits; }),
              "a field table must cover its structure exactly");

// The structures' layout is part of the interface with hosts.
static_assert(sizeof(ColumnsRecord) == 414 && offsetof(ColumnsRecord, fields) == 250);
static_assert(sizeof(HeaderRecord) == 67 && sizeof(UnitsRecord) == 48);
static_assert(sizeof(OffsetsRecord) == 24 && sizeof(ProjectRecord) == 624);
static_assert(sizeof(PointRecord) == 194 && offsetof(PointRecord, JobNo) == 21 &&
              offsetof(PointRecord, SYS) == 23 && offsetof(PointRecord, CLASS) == 24 &&
              offsetof(PointRecord, East) == 28);
static_assert(sizeof(ThemInfoRecord) == 195 && offsetof(ThemInfoRecord, Value) == 52);
static_assert(sizeof(SetupRecord) == 39 && sizeof(SlopeRecord) == 138);
static_assert(sizeof(OperationRecord) == 4 && sizeof(OperationPointsRecord) == 220);
static_assert(sizeof(TimeTaggedEntry) == 78);
static_assert(offsetof(TimeTaggedRecord, entries) == 27, "the one pointer stands last");

constexpr std::array<RecordDef, kLastRecordType + 1> catalogue() {
  std::array<RecordDef, kLastRecordType + 1> table{};
  for (const Pair& pair : kPairs) {
    table[pair.data] = {pair.data, static_cast<uint16_t>(pair.size), false, pair.fields};
    table[pair.columns] = {pair.columns, sizeof(ColumnsRecord), true, pair.fields};
  }
  // Blocks without a field table: their lines have a layout of their own.
  table[TVO_RECORD_OPERATIONS_COLUMNS] = {TVO_RECORD_OPERATIONS_COLUMNS, sizeof(ColumnsRecord),
                                          true, nullptr};
  table[TVO_RECORD_OPERATIONS] = {TVO_RECORD_OPERATIONS, sizeof(OperationRecord), false, nullptr};
  table[TVO_RECORD_OPERATION_POINTS] = {TVO_RECORD_OPERATION_POINTS, sizeof(OperationPointsRecord),
                                        false, nullptr};
  table[TVO_RECORD_TIME_TAGGED_CODES_COLUMNS] = {TVO_RECORD_TIME_TAGGED_CODES_COLUMNS,
                                                 sizeof(ColumnsRecord), true, nullptr};
  table[TVO_RECORD_TIME_TAGGED_CODES] = {TVO_RECORD_TIME_TAGGED_CODES, sizeof(TimeTaggedRecord),
                                         false, nullptr};
  return table;
}
constexpr std::array<RecordDef, kLastRecordType + 1> kCatalogue = catalogue();

}  // namespace

const RecordDef& recordDef(RecordType type) {
  return kCatalogue[type <= kLastRecordType ? type : 0];
}

int FindField(const FieldDef* table, std::string_view name, FieldDef* field) {
  for (size_t i = 0; i < kMaxEntries && table[i].id != kEndMark && !name.empty(); ++i) {
    if (name == table[i].name) {
      *field = table[i];
      return kFound;
    }
  }
  *field = FieldDef{};
  memcpy(field->name, name.data(), std::min(name.size(), kNameSize - 1));
  return kNotFound;
}

const FieldDef* definitionTable(RecordType columns) {
  // MERCATOR_2 has always been checked against MERCATOR's columns; files rely on it.
  if (columns == TVO_RECORD_MERCATOR_2_COLUMNS) columns = TVO_RECORD_MERCATOR_COLUMNS;
  const RecordDef& record = recordDef(columns);
  return record.columns ? record.fields : nullptr;
}

int FieldTableFor(RecordType columns, std::string_view name, FieldDef* field) {
  const FieldDef* table = definitionTable(columns);
  return table == nullptr ? kNoTable : FindField(table, name, field);
}

const FieldDef* findId(const FieldDef* table, FieldId id) {
  for (; table->id != kEndMark; ++table) {
    if (table->id == id && table->name[0] != '\0') return table;
  }
  return nullptr;
}

std::span<const FieldDef> rows(const FieldDef* table) {
  size_t n = 0;
  while (table[n].id != kEndMark) ++n;
  return {table, n};
}

}  // namespace tavo::schema
