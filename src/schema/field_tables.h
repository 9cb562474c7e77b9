// The field tables, one for each record structure, in column order. The catalogue alone sees them;
// everybody else reaches them through it.
#pragma once

#include <cstddef>

#include "schema/types.h"

namespace tavo::schema {

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

inline constexpr FieldDef kTableEnd{kEndMark, "", DataType::kFree, 0, kNotKept};

// A row whose column bears the member's name; one whose column bears another name, or none; and one
// that is read and checked but never kept.
#define NAMED(Record, member, column, id, type)                                                    \
  FieldDef {                                                                                       \
    id, column, DataType::type, widthOf(DataType::type, sizeof(Record::member)),                   \
        offsetof(Record, member), EnumGroup::kAny, UnitKind::kNone, DecimalKind::kGeneral, #member \
  }
#define F(Record, member, id, type) NAMED(Record, member, #member, id, type)
#define NOT_KEPT(Record, member, id, type) \
  FieldDef { id, #member, DataType::type, 0, kNotKept }

inline constexpr FieldDef kHeaderFields[] = {
    F(HeaderRecord, VERSION, TVO_FIELD_VERSION, kFloat),
    F(HeaderRecord, SYSTEM, TVO_FIELD_SYSTEM, kText),
    F(HeaderRecord, SEPARATOR, TVO_FIELD_SEPARATOR, kChar),
    F(HeaderRecord, TERMINATOR, TVO_FIELD_TERMINATOR, kChar),
    kTableEnd,
};

inline constexpr FieldDef kUnitsFields[] = {
    F(UnitsRecord, ANGULAR, TVO_FIELD_ANGULAR, kEnum),
    F(UnitsRecord, LINEAR, TVO_FIELD_LINEAR, kEnum),
    F(UnitsRecord, GEOCRD, TVO_FIELD_GEOCRD, kEnum),
    F(UnitsRecord, TEMP, TVO_FIELD_TEMP, kEnum),
    F(UnitsRecord, PRESS, TVO_FIELD_PRESS, kEnum),
    F(UnitsRecord, TIME, TVO_FIELD_Date, kEnum),
    NAMED(UnitsRecord, angularFactor, "", 0, kDouble).with(DecimalKind::kGeographic),
    NAMED(UnitsRecord, linearFactor, "", 0, kDouble).with(DecimalKind::kGeographic),
    NAMED(UnitsRecord, geographicFactor, "", 0, kDouble).with(DecimalKind::kGeographic),
    kTableEnd,
};

inline constexpr FieldDef kOffsetsFields[] = {
    F(OffsetsRecord, EAST, TVO_FIELD_East, kDouble).from(UnitKind::kLinear),
    F(OffsetsRecord, NORTH, TVO_FIELD_North, kDouble).from(UnitKind::kLinear),
    F(OffsetsRecord, ELEVATION, TVO_FIELD_Elevation, kDouble).from(UnitKind::kLinear),
    kTableEnd,
};

inline constexpr FieldDef kProjectFields[] = {
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
    kTableEnd,
};

inline constexpr FieldDef kSubjectFields[] = {
    F(SubjectRecord, SubjectNo, TVO_FIELD_SubjectNo, kUint16).key(),
    F(SubjectRecord, Name, TVO_FIELD_SubjectName, kText),
    kTableEnd,
};

inline constexpr FieldDef kLayerFields[] = {
    F(LayerRecord, LayerNo, TVO_FIELD_LayerNo, kUint16).key(),
    F(LayerRecord, Name, TVO_FIELD_LayerName, kText),
    F(LayerRecord, Flags, TVO_FIELD_LayerFlags, kBits),
    kTableEnd,
};

inline constexpr FieldDef kSubjectLayerFields[] = {
    F(SubjectLayerRecord, SubjectNo, TVO_FIELD_SubjectNo, kUint16).key().to(TVO_FIELD_SubjectNo),
    F(SubjectLayerRecord, LayerNo, TVO_FIELD_LayerNo, kUint16).key().to(TVO_FIELD_LayerNo),
    kTableEnd,
};

inline constexpr FieldDef kChoiceFields[] = {
    F(ChoiceRecord, ListNo, TVO_FIELD_ListNo, kUint16).key(),
    F(ChoiceRecord, Element, TVO_FIELD_Element, kText).key(),
    kTableEnd,
};

inline constexpr FieldDef kCodeListFields[] = {
    F(CodeListRecord, NAME, TVO_FIELD_CodeListName, kText),
    F(CodeListRecord, AUTHOR, TVO_FIELD_OPERATOR, kText),
    F(CodeListRecord, DATE, TVO_FIELD_Date, kDateTime),
    F(CodeListRecord, TEMPLATE_ID, TVO_FIELD_TEMPLATE_ID, kUint16),
    kTableEnd,
};

inline constexpr FieldDef kCodeFields[] = {
    F(CodeRecord, CodeNo, TVO_FIELD_CodeNo, kUint16).key(),
    F(CodeRecord, Code, TVO_FIELD_Code, kText).identifying(),
    F(CodeRecord, Name, TVO_FIELD_CodeName, kText),
    F(CodeRecord, OBJTYPE, TVO_FIELD_OBJTYPE, kEnum).in(EnumGroup::kObjectType),
    F(CodeRecord, LayerNo, TVO_FIELD_LayerNo, kUint16).to(TVO_FIELD_LayerNo),
    F(CodeRecord, Shortcut, TVO_FIELD_Shortcut, kUint16),
    kTableEnd,
};

inline constexpr FieldDef kAttributeFields[] = {
    F(AttributeRecord, Attribute, TVO_FIELD_Attribute, kText).key(),
    F(AttributeRecord, DATATYPE, TVO_FIELD_DATATYPE, kEnum).in(EnumGroup::kDataType),
    F(AttributeRecord, CodeNo, TVO_FIELD_CodeNo, kUint16).key().to(TVO_FIELD_CodeNo),
    F(AttributeRecord, Code, TVO_FIELD_Code, kText).key().to(TVO_FIELD_Code),
    F(AttributeRecord, ListNo, TVO_FIELD_ListNo, kUint16).to(TVO_FIELD_ListNo),
    F(AttributeRecord, MANDATORY, TVO_FIELD_MANDATORY, kEnum).in(EnumGroup::kYesNo),
    F(AttributeRecord, HIDDEN, TVO_FIELD_HIDDEN, kEnum).in(EnumGroup::kYesNo),
    F(AttributeRecord, HIDEALWAYS, TVO_FIELD_HIDEALWAYS, kEnum).in(EnumGroup::kYesNo),
    F(AttributeRecord, Default, TVO_FIELD_Default, kDefault),
    F(AttributeRecord, RangeLow, TVO_FIELD_RangeLow, kDouble).with(DecimalKind::kGeographic),
    F(AttributeRecord, RangeHigh, TVO_FIELD_RangeHigh, kDouble).with(DecimalKind::kGeographic),
    kTableEnd,
};

inline constexpr FieldDef kJobFields[] = {
    F(JobRecord, JobNo, TVO_FIELD_JobNo, kUint16).key(),
    F(JobRecord, Name, TVO_FIELD_JobName, kText),
    F(JobRecord, Operator, TVO_FIELD_OPERATOR, kText),
    F(JobRecord, FieldParty, TVO_FIELD_FieldParty, kText),
    F(JobRecord, Date, TVO_FIELD_Date, kDateTime),
    F(JobRecord, TimeZone, TVO_FIELD_TimeZone, kFloat),
    kTableEnd,
};

inline constexpr FieldDef kPointFields[] = {
    F(PointRecord, PointNo, TVO_FIELD_PointNo, kUint32).key(),
    F(PointRecord, PointID, TVO_FIELD_PointID, kText).identifying(),
    F(PointRecord, JobNo, TVO_FIELD_JobNo, kUint16).to(TVO_FIELD_JobNo),
    F(PointRecord, CLASS, TVO_FIELD_CLASS, kEnum).in(EnumGroup::kPointClass),
    F(PointRecord, SYS, TVO_FIELD_SYS, kUint8),
    F(PointRecord, East, TVO_FIELD_East, kDouble)
        .with(DecimalKind::kLinear)
        .keeping(UnitKind::kLinear),
    F(PointRecord, North, TVO_FIELD_North, kDouble)
        .with(DecimalKind::kLinear)
        .keeping(UnitKind::kLinear),
    F(PointRecord, Elevation, TVO_FIELD_Elevation, kDouble)
        .with(DecimalKind::kLinear)
        .keeping(UnitKind::kLinear),
    F(PointRecord, Longitude, TVO_FIELD_Longitude, kDouble)
        .with(DecimalKind::kGeographic)
        .keeping(UnitKind::kGeographic),
    F(PointRecord, Latitude, TVO_FIELD_Latitude, kDouble)
        .with(DecimalKind::kGeographic)
        .keeping(UnitKind::kGeographic),
    F(PointRecord, EllHeight, TVO_FIELD_Height, kDouble)
        .with(DecimalKind::kLinear)
        .keeping(UnitKind::kLinear),
    F(PointRecord, X, TVO_FIELD_X, kDouble).with(DecimalKind::kLinear),
    F(PointRecord, Y, TVO_FIELD_Y, kDouble).with(DecimalKind::kLinear),
    F(PointRecord, Z, TVO_FIELD_Z, kDouble).with(DecimalKind::kLinear),
    F(PointRecord, PrjSetNo, TVO_FIELD_PrjSetNo, kUint16).to(TVO_FIELD_PrjSetNo),
    F(PointRecord, CodeNo, TVO_FIELD_CodeNo, kUint16).to(TVO_FIELD_CodeNo),
    F(PointRecord, Code, TVO_FIELD_Code, kText).to(TVO_FIELD_Code),
    F(PointRecord, Description, TVO_FIELD_Description, kText),
    F(PointRecord, Date, TVO_FIELD_Date, kDateTime),
    F(PointRecord, Color, TVO_FIELD_Color, kUint32),
    F(PointRecord, LayerNo, TVO_FIELD_LayerNo, kUint16).to(TVO_FIELD_LayerNo),
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
    F(PointRecord, Geoid, TVO_FIELD_Geoid, kFloat)
        .with(DecimalKind::kLinear)
        .keeping(UnitKind::kLinear),
    F(PointRecord, Flags, TVO_FIELD_PointFlags, kBits),
    kTableEnd,
};

inline constexpr FieldDef kPointAccuracyFields[] = {
    F(PointAccuracyRecord, PointNo, TVO_FIELD_PointNo, kUint32).key().to(TVO_FIELD_PointNo),
    F(PointAccuracyRecord, PointID, TVO_FIELD_PointID, kText).key().to(TVO_FIELD_PointID),
    F(PointAccuracyRecord, Mo, TVO_FIELD_Mo, kFloat).with(DecimalKind::kLinear),
    F(PointAccuracyRecord, A11, TVO_FIELD_A11, kDouble).with(DecimalKind::kGeographic),
    F(PointAccuracyRecord, A12, TVO_FIELD_A12, kDouble).with(DecimalKind::kGeographic),
    F(PointAccuracyRecord, A13, TVO_FIELD_A13, kDouble).with(DecimalKind::kGeographic),
    F(PointAccuracyRecord, A22, TVO_FIELD_A22, kDouble).with(DecimalKind::kGeographic),
    F(PointAccuracyRecord, A23, TVO_FIELD_A23, kDouble).with(DecimalKind::kGeographic),
    F(PointAccuracyRecord, A33, TVO_FIELD_A33, kDouble).with(DecimalKind::kGeographic),
    kTableEnd,
};

inline constexpr FieldDef kLineFields[] = {
    F(LineRecord, LineNo, TVO_FIELD_LineNo, kUint32).key(),
    F(LineRecord, LineID, TVO_FIELD_LineID, kText).identifying(),
    F(LineRecord, JobNo, TVO_FIELD_JobNo, kUint16).to(TVO_FIELD_JobNo),
    F(LineRecord, CodeNo, TVO_FIELD_CodeNo, kUint16).to(TVO_FIELD_CodeNo),
    F(LineRecord, Code, TVO_FIELD_Code, kText).to(TVO_FIELD_Code),
    F(LineRecord, Description, TVO_FIELD_Description, kText),
    F(LineRecord, Color, TVO_FIELD_Color, kUint32),
    F(LineRecord, LayerNo, TVO_FIELD_LayerNo, kUint16).to(TVO_FIELD_LayerNo),
    F(LineRecord, LineStyle, TVO_FIELD_LineStyle, kUint16),
    F(LineRecord, DistType, TVO_FIELD_DistType, kUint8),
    F(LineRecord, BrgRoundNo, TVO_FIELD_BrgRoundNo, kUint8),
    F(LineRecord, DistRoundNo, TVO_FIELD_DistRoundNo, kUint8),
    F(LineRecord, CurveFactor, TVO_FIELD_CurveFactor, kUint8),
    F(LineRecord, ExagFactor, TVO_FIELD_ExagFactor, kUint16),
    F(LineRecord, Flags1, TVO_FIELD_Flags1, kBits),
    F(LineRecord, Flags2, TVO_FIELD_Flags2, kBits),
    kTableEnd,
};

inline constexpr FieldDef kPolygonFields[] = {
    F(PolygonRecord, PolygonNo, TVO_FIELD_PolygonNo, kUint32).key(),
    F(PolygonRecord, PolygonID, TVO_FIELD_PolygonID, kText).identifying(),
    F(PolygonRecord, JobNo, TVO_FIELD_JobNo, kUint16).to(TVO_FIELD_JobNo),
    F(PolygonRecord, CodeNo, TVO_FIELD_CodeNo, kUint16).to(TVO_FIELD_CodeNo),
    F(PolygonRecord, Code, TVO_FIELD_Code, kText).to(TVO_FIELD_Code),
    F(PolygonRecord, Description, TVO_FIELD_Description, kText),
    F(PolygonRecord, Color, TVO_FIELD_Color, kUint32),
    F(PolygonRecord, LayerNo, TVO_FIELD_LayerNo, kUint16).to(TVO_FIELD_LayerNo),
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
    kTableEnd,
};

inline constexpr FieldDef kEdgeFields[] = {
    F(EdgeRecord, LineNo, TVO_FIELD_LineNo, kUint32).to(TVO_FIELD_LineNo),
    F(EdgeRecord, PolygonNo, TVO_FIELD_PolygonNo, kUint32).to(TVO_FIELD_PolygonNo),
    F(EdgeRecord, StartPt, TVO_FIELD_StartPt, kUint32).to(TVO_FIELD_PointNo),
    F(EdgeRecord, StartPtID, TVO_FIELD_StartPtID, kText).to(TVO_FIELD_PointID),
    F(EdgeRecord, EndPt, TVO_FIELD_EndPt, kUint32).to(TVO_FIELD_PointNo),
    F(EdgeRecord, EndPtID, TVO_FIELD_EndPtID, kText).to(TVO_FIELD_PointID),
    F(EdgeRecord, LINETYPE, TVO_FIELD_LINETYPE, kEnum).in(EnumGroup::kEdgeType),
    kTableEnd,
};

inline constexpr FieldDef kThemInfoFields[] = {
    NAMED(ThemInfoRecord, OwnerNo, "PointNo", TVO_FIELD_PointNo, kUint32)
        .key()
        .to(TVO_FIELD_PointNo),
    F(ThemInfoRecord, PointID, TVO_FIELD_PointID, kText).key().to(TVO_FIELD_PointID),
    NAMED(ThemInfoRecord, OwnerNo, "LineNo", TVO_FIELD_LineNo, kUint32).key().to(TVO_FIELD_LineNo),
    NAMED(ThemInfoRecord, OwnerNo, "PolygonNo", TVO_FIELD_PolygonNo, kUint32)
        .key()
        .to(TVO_FIELD_PolygonNo),
    F(ThemInfoRecord, Attribute, TVO_FIELD_Attribute, kText).key(),
    F(ThemInfoRecord, Value, TVO_FIELD_Value, kFree),
    kTableEnd,
};

inline constexpr FieldDef kAnnotationFields[] = {
    F(AnnotationRecord, PointNo, TVO_FIELD_PointNo, kUint32).to(TVO_FIELD_PointNo),
    F(AnnotationRecord, PointID, TVO_FIELD_PointID, kText).to(TVO_FIELD_PointID),
    F(AnnotationRecord, LineNo, TVO_FIELD_LineNo, kUint32).to(TVO_FIELD_LineNo),
    F(AnnotationRecord, PolygonNo, TVO_FIELD_PolygonNo, kUint32).to(TVO_FIELD_PolygonNo),
    F(AnnotationRecord, TYPE, TVO_FIELD_TYPE, kEnum).in(EnumGroup::kNoteKind),
    F(AnnotationRecord, Annotation, TVO_FIELD_Annotation, kText),
    kTableEnd,
};

inline constexpr FieldDef kElementsFields[] = {
    F(ElementsRecord, StnNo, TVO_FIELD_StnNo, kUint32).to(TVO_FIELD_PointNo),
    F(ElementsRecord, StnID, TVO_FIELD_StnID, kText).to(TVO_FIELD_PointID),
    F(ElementsRecord, Date, TVO_FIELD_Date, kDateTime),
    F(ElementsRecord, WetTemp, TVO_FIELD_WetTemp, kFloat),
    F(ElementsRecord, DryTemp, TVO_FIELD_DryTemp, kFloat),
    F(ElementsRecord, AtmPress, TVO_FIELD_AtmPress, kFloat),
    F(ElementsRecord, RefCoeff, TVO_FIELD_RefCoeff, kFloat).with(DecimalKind::kLinear),
    F(ElementsRecord, Note, TVO_FIELD_Note, kText),
    kTableEnd,
};

inline constexpr FieldDef kInstrumentFields[] = {
    F(InstrumentRecord, Name, TVO_FIELD_InstrName, kText).key(),
    F(InstrumentRecord, TheoNo, TVO_FIELD_TheoNo, kUint32),
    F(InstrumentRecord, EDMNo, TVO_FIELD_EDMNo, kUint32),
    kTableEnd,
};

inline constexpr FieldDef kConfigFields[] = {
    F(ConfigRecord, CfgNo, TVO_FIELD_CfgNo, kUint16).key(),
    F(ConfigRecord, InstrName, TVO_FIELD_InstrName, kText).to(TVO_FIELD_InstrName),
    F(ConfigRecord, Date, TVO_FIELD_Date, kDateTime),
    F(ConfigRecord, AddConst, TVO_FIELD_AddConst, kFloat).from(UnitKind::kLinear),
    F(ConfigRecord, Collimation, TVO_FIELD_Collimation, kDouble).from(UnitKind::kAngular),
    F(ConfigRecord, TiltAxis, TVO_FIELD_TiltAxis, kDouble).from(UnitKind::kAngular),
    F(ConfigRecord, Index, TVO_FIELD_Index, kDouble).from(UnitKind::kAngular),
    kTableEnd,
};

inline constexpr FieldDef kAprioriErrorFields[] = {
    F(AprioriErrorRecord, CfgNo, TVO_FIELD_CfgNo, kUint16).key().to(TVO_FIELD_CfgNo),
    F(AprioriErrorRecord, Hz, TVO_FIELD_Hz, kDouble).from(UnitKind::kAngular),
    F(AprioriErrorRecord, Vz, TVO_FIELD_Vz, kDouble).from(UnitKind::kAngular),
    F(AprioriErrorRecord, SDist, TVO_FIELD_SDist, kFloat).from(UnitKind::kLinear),
    F(AprioriErrorRecord, InstrHt, TVO_FIELD_InstrHt, kFloat).from(UnitKind::kLinear),
    F(AprioriErrorRecord, RefHt, TVO_FIELD_RefHt, kFloat).from(UnitKind::kLinear),
    kTableEnd,
};

inline constexpr FieldDef kSetupFields[] = {
    F(SetupRecord, STN_NO, TVO_FIELD_StnNo, kUint32).to(TVO_FIELD_PointNo),
    F(SetupRecord, STN_ID, TVO_FIELD_StnID, kText).to(TVO_FIELD_PointID),
    F(SetupRecord, INST_HT, TVO_FIELD_InstrHt, kFloat).from(UnitKind::kLinear),
    NAMED(SetupRecord, Date, "", TVO_FIELD_Date, kDateTime),
    kTableEnd,
};

inline constexpr FieldDef kSlopeFields[] = {
    F(SlopeRecord, TgtNo, TVO_FIELD_TgtNo, kUint32).to(TVO_FIELD_PointNo),
    F(SlopeRecord, TgtID, TVO_FIELD_TgtID, kText).to(TVO_FIELD_PointID),
    F(SlopeRecord, Hz, TVO_FIELD_Hz, kDouble).from(UnitKind::kAngular),
    F(SlopeRecord, Vz, TVO_FIELD_Vz, kDouble).from(UnitKind::kAngular),
    F(SlopeRecord, SDist, TVO_FIELD_SDist, kDouble).from(UnitKind::kLinear),
    F(SlopeRecord, RefHt, TVO_FIELD_RefHt, kFloat).from(UnitKind::kLinear),
    F(SlopeRecord, Ppm, TVO_FIELD_Ppm, kFloat).with(DecimalKind::kLinear),
    F(SlopeRecord, Ori, TVO_FIELD_Ori, kDouble).from(UnitKind::kAngular),
    F(SlopeRecord, CfgNo, TVO_FIELD_SlopeCfgNo, kUint16).to(TVO_FIELD_CfgNo),
    F(SlopeRecord, Date, TVO_FIELD_Date, kDateTime),
    F(SlopeRecord, OffsetUp, TVO_FIELD_OffsetUp, kFloat).from(UnitKind::kLinear),
    F(SlopeRecord, OffsetRight, TVO_FIELD_OffsetRight, kFloat).from(UnitKind::kLinear),
    F(SlopeRecord, OffsetAway, TVO_FIELD_OffsetAway, kFloat).from(UnitKind::kLinear),
    F(SlopeRecord, InclinLength, TVO_FIELD_InclinLength, kDouble).from(UnitKind::kAngular),
    F(SlopeRecord, InclinCross, TVO_FIELD_InclinCross, kDouble).from(UnitKind::kAngular),
    F(SlopeRecord, ApplType, TVO_FIELD_ApplType, kUint8),
    F(SlopeRecord, Flags, TVO_FIELD_SlopeFlags, kBits),
    F(SlopeRecord, Note, TVO_FIELD_Note, kText),
    kTableEnd,
};

inline constexpr FieldDef kEllipsoidFields[] = {
    F(EllipsoidRecord, EllipsoidNo, TVO_FIELD_EllipsoidNo, kUint16).key(),
    F(EllipsoidRecord, Name, TVO_FIELD_EllipsoidName, kText),
    F(EllipsoidRecord, A, TVO_FIELD_EllipsoidA, kDouble).with(DecimalKind::kGeographic),
    F(EllipsoidRecord, F, TVO_FIELD_EllipsoidF, kDouble).with(DecimalKind::kGeographic),
    F(EllipsoidRecord, Date, TVO_FIELD_Date, kDateTime),
    kTableEnd,
};

inline constexpr FieldDef kUtmFields[] = {
    F(UtmRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16).key(),
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
    kTableEnd,
};

inline constexpr FieldDef kLambertFields[] = {
    F(LambertRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16).key(),
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
    kTableEnd,
};

inline constexpr FieldDef kLambertWithScaleFields[] = {
    F(LambertWithScaleRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16).key(),
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
    kTableEnd,
};

inline constexpr FieldDef kMercatorFields[] = {
    F(MercatorRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16).key(),
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
    kTableEnd,
};

inline constexpr FieldDef kMercator2Fields[] = {
    F(Mercator2Record, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16).key(),
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
    kTableEnd,
};

inline constexpr FieldDef kObliqueMercatorFields[] = {
    F(ObliqueMercatorRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16).key(),
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
    kTableEnd,
};

inline constexpr FieldDef kStereographicFields[] = {
    F(StereographicRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16).key(),
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
    kTableEnd,
};

inline constexpr FieldDef kRsoFields[] = {
    F(RsoRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16).key(),
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
    kTableEnd,
};

inline constexpr FieldDef kCassiniSoldnerFields[] = {
    F(CassiniSoldnerRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16).key(),
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
    kTableEnd,
};

inline constexpr FieldDef kPlaneFields[] = {
    F(PlaneRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16).key(),
    F(PlaneRecord, Name, TVO_FIELD_MapPrjName, kText),
    F(PlaneRecord, Date, TVO_FIELD_Date, kDateTime),
    F(PlaneRecord, Flags, TVO_FIELD_PrjFlags, kBits),
    F(PlaneRecord, Scale, TVO_FIELD_Scale, kDouble).with(DecimalKind::kGeographic),
    kTableEnd,
};

inline constexpr FieldDef kSpecialFields[] = {
    F(SpecialRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16).key(),
    F(SpecialRecord, Name, TVO_FIELD_MapPrjName, kText),
    F(SpecialRecord, Date, TVO_FIELD_Date, kDateTime),
    F(SpecialRecord, Flags, TVO_FIELD_PrjFlags, kBits),
    F(SpecialRecord, SPPRJ_TYPE, TVO_FIELD_TYPE, kEnum).in(EnumGroup::kSpecialProjection),
    kTableEnd,
};

inline constexpr FieldDef kApprox1dFields[] = {
    F(Approx1dRecord, TrfNo, TVO_FIELD_TrfNo, kUint16).key(),
    F(Approx1dRecord, Name, TVO_FIELD_TrfName, kText),
    F(Approx1dRecord, Date, TVO_FIELD_Date, kDateTime),
    F(Approx1dRecord, Flags, TVO_FIELD_TrfFlags, kBits),
    F(Approx1dRecord, Xo, TVO_FIELD_Xo, kDouble).with(DecimalKind::kGeographic),
    F(Approx1dRecord, Yo, TVO_FIELD_Yo, kDouble).with(DecimalKind::kGeographic),
    F(Approx1dRecord, A, TVO_FIELD_A, kDouble).with(DecimalKind::kGeographic),
    F(Approx1dRecord, B, TVO_FIELD_B, kDouble).with(DecimalKind::kGeographic),
    F(Approx1dRecord, C, TVO_FIELD_C, kDouble).with(DecimalKind::kGeographic),
    kTableEnd,
};

inline constexpr FieldDef kAffin2dFields[] = {
    F(Affin2dRecord, TrfNo, TVO_FIELD_TrfNo, kUint16).key(),
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
    kTableEnd,
};

inline constexpr FieldDef kHelmert2dFields[] = {
    F(Helmert2dRecord, TrfNo, TVO_FIELD_TrfNo, kUint16).key(),
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
    kTableEnd,
};

inline constexpr FieldDef kHelmert3dFields[] = {
    F(Helmert3dRecord, TrfNo, TVO_FIELD_TrfNo, kUint16).key(),
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
    kTableEnd,
};

inline constexpr FieldDef kProjectionSetFields[] = {
    F(ProjectionSetRecord, PrjSetNo, TVO_FIELD_PrjSetNo, kUint16).key(),
    F(ProjectionSetRecord, Name, TVO_FIELD_PrjSetName, kText),
    F(ProjectionSetRecord, EllipsoidNo, TVO_FIELD_EllipsoidNo, kUint16).to(TVO_FIELD_EllipsoidNo),
    F(ProjectionSetRecord, MapPrjNo, TVO_FIELD_MapPrjNo, kUint16).to(TVO_FIELD_MapPrjNo),
    F(ProjectionSetRecord, LTrfNo, TVO_FIELD_LTrfNo, kUint16).to(TVO_FIELD_TrfNo),
    F(ProjectionSetRecord, HTrfNo, TVO_FIELD_HTrfNo, kUint16).to(TVO_FIELD_TrfNo),
    F(ProjectionSetRecord, Date, TVO_FIELD_Date, kDateTime),
    F(ProjectionSetRecord, Flags, TVO_FIELD_PrjFlags, kBits),
    F(ProjectionSetRecord, TYPE, TVO_FIELD_TYPE, kEnum).in(EnumGroup::kProjectionSet),
    kTableEnd,
};

inline constexpr FieldDef kTextPropertyFields[] = {
    F(TextPropertyRecord, TextPropertyNo, TVO_FIELD_TextPropertyNo, kUint16).key(),
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
    kTableEnd,
};

inline constexpr FieldDef kTextBoxFields[] = {
    F(TextBoxRecord, TextBoxNo, TVO_FIELD_TextBoxNo, kUint16).key(),
    F(TextBoxRecord, LayerNo, TVO_FIELD_LayerNo, kUint16).to(TVO_FIELD_LayerNo),
    F(TextBoxRecord, Units, TVO_FIELD_Units, kUint16),
    F(TextBoxRecord, AnchorPosition, TVO_FIELD_AnchorPosition, kUint8),
    F(TextBoxRecord, AnchorPointNo, TVO_FIELD_AnchorPointNo, kUint32).to(TVO_FIELD_PointNo),
    F(TextBoxRecord, OffsetEast, TVO_FIELD_OffsetEast, kFloat)
        .with(DecimalKind::kLinear)
        .keeping(UnitKind::kLinear),
    F(TextBoxRecord, OffsetNorth, TVO_FIELD_OffsetNorth, kFloat)
        .with(DecimalKind::kLinear)
        .keeping(UnitKind::kLinear),
    F(TextBoxRecord, OffsetElevation, TVO_FIELD_OffsetElevation, kFloat)
        .with(DecimalKind::kLinear)
        .keeping(UnitKind::kLinear),
    F(TextBoxRecord, HzDirection, TVO_FIELD_Hz, kFloat)
        .with(DecimalKind::kAngular)
        .keeping(UnitKind::kAngular),
    kTableEnd,
};

inline constexpr FieldDef kTextItemFields[] = {
    F(TextItemRecord, TextItemNo, TVO_FIELD_TextItemNo, kUint16).key(),
    F(TextItemRecord, TextBoxNo, TVO_FIELD_TextBoxNo, kUint16).to(TVO_FIELD_TextBoxNo),
    F(TextItemRecord, TextPropertyNo, TVO_FIELD_TextPropertyNo, kUint16)
        .to(TVO_FIELD_TextPropertyNo),
    F(TextItemRecord, LineNo, TVO_FIELD_LineNo, kUint16),
    F(TextItemRecord, TextItem, TVO_FIELD_TextItem, kText),
    kTableEnd,
};

#undef NAMED
#undef F
#undef NOT_KEPT

}  // namespace tavo::schema
