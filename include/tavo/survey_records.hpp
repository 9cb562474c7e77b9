// Typed records of survey.hpp, one class for each record type with a field table: a value is
// there when its line gave it. Made from the format's tables by cmake/record_views.cpp; not to
// be edited.
#pragma once

// clang-format off

namespace tavo {

// HEADER.
class Header : public Record {
 public:
  static constexpr uint32_t kType = 5;
  using Record::Record;
  std::optional<float> VERSION() const { return number<float>(0, 0); }
  std::optional<std::string_view> SYSTEM() const { return text(1, 4, 61); }
  std::optional<char> SEPARATOR() const { return number<char>(2, 65); }
  std::optional<char> TERMINATOR() const { return number<char>(3, 66); }
};

// UNITS in HEADER.
class Units : public Record {
 public:
  static constexpr uint32_t kType = 6;
  using Record::Record;
  std::optional<TVO_EnumId> ANGULAR() const { return number<TVO_EnumId>(0, 0); }
  std::optional<TVO_EnumId> LINEAR() const { return number<TVO_EnumId>(1, 12); }
  std::optional<TVO_EnumId> GEOCRD() const { return number<TVO_EnumId>(2, 24); }
  std::optional<TVO_EnumId> TEMP() const { return number<TVO_EnumId>(3, 36); }
  std::optional<TVO_EnumId> PRESS() const { return number<TVO_EnumId>(4, 40); }
  std::optional<TVO_EnumId> TIME() const { return number<TVO_EnumId>(5, 44); }
  double angularFactor() const { return member<double>(4); }
  double linearFactor() const { return member<double>(16); }
  double geographicFactor() const { return member<double>(28); }
};

// OFFSETS in HEADER.
class Offsets : public Record {
 public:
  static constexpr uint32_t kType = 7;
  using Record::Record;
  std::optional<double> EAST() const { return number<double>(0, 0); }
  std::optional<double> NORTH() const { return number<double>(1, 8); }
  std::optional<double> ELEVATION() const { return number<double>(2, 16); }
};

// PROJECT in HEADER.
class Project : public Record {
 public:
  static constexpr uint32_t kType = 8;
  using Record::Record;
  std::optional<std::string_view> NAME() const { return text(0, 0, 61); }
  std::optional<std::string_view> FIELD_DATE() const { return text(1, 61, 61); }
  std::optional<Time> CREATION_DATE() const { return time(122); }
  std::optional<std::string_view> FIELD_PARTY() const { return text(3, 136, 61); }
  std::optional<std::string_view> OPERATOR() const { return text(4, 197, 61); }
  std::optional<std::string_view> CLIENT() const { return text(5, 258, 61); }
  std::optional<std::string_view> ADDRESS() const { return text(6, 319, 61); }
  std::optional<std::string_view> CITY() const { return text(7, 380, 61); }
  std::optional<std::string_view> MAPREF() const { return text(8, 441, 61); }
  std::optional<std::string_view> REFERENCE() const { return text(9, 502, 61); }
  std::optional<std::string_view> DESCRIPTION() const { return text(10, 563, 61); }
};

// SUBJECTS in DEFINITIONS.
class Subject : public Record {
 public:
  static constexpr uint32_t kType = 16;
  using Record::Record;
  std::optional<uint16_t> SubjectNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
};

// LAYERS in DEFINITIONS.
class Layer : public Record {
 public:
  static constexpr uint32_t kType = 17;
  using Record::Record;
  std::optional<uint16_t> LayerNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(2, 33); }
};

// SUBJECT_LAYER_LIST in DEFINITIONS.
class SubjectLayerList : public Record {
 public:
  static constexpr uint32_t kType = 18;
  using Record::Record;
  std::optional<uint16_t> SubjectNo() const { return number<uint16_t>(0, 0); }
  std::optional<uint16_t> LayerNo() const { return number<uint16_t>(1, 2); }
};

// CHOICELIST in DEFINITIONS.
class Choicelist : public Record {
 public:
  static constexpr uint32_t kType = 19;
  using Record::Record;
  std::optional<uint16_t> ListNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Element() const { return text(1, 2, 31); }
};

// CODELIST in DEFINITIONS.
class Codelist : public Record {
 public:
  static constexpr uint32_t kType = 20;
  using Record::Record;
  std::optional<std::string_view> NAME() const { return text(0, 0, 31); }
  std::optional<std::string_view> AUTHOR() const { return text(1, 31, 61); }
  std::optional<Time> DATE() const { return time(92); }
  std::optional<uint16_t> TEMPLATE_ID() const { return number<uint16_t>(3, 106); }
};

// CODES in CODELIST.
class CodeEntry : public Record {
 public:
  static constexpr uint32_t kType = 21;
  using Record::Record;
  std::optional<uint16_t> CodeNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Code() const { return text(1, 2, 9); }
  std::optional<std::string_view> Name() const { return text(2, 11, 31); }
  std::optional<TVO_EnumId> OBJTYPE() const { return number<TVO_EnumId>(3, 42); }
  std::optional<uint16_t> LayerNo() const { return number<uint16_t>(4, 46); }
  std::optional<uint16_t> Shortcut() const { return number<uint16_t>(5, 48); }
};

// ATTRIBUTES in CODELIST.
class AttributeEntry : public Record {
 public:
  static constexpr uint32_t kType = 22;
  using Record::Record;
  std::optional<std::string_view> Attribute() const { return text(0, 0, 31); }
  std::optional<TVO_EnumId> DATATYPE() const { return number<TVO_EnumId>(1, 31); }
  std::optional<uint16_t> CodeNo() const { return number<uint16_t>(2, 35); }
  std::optional<std::string_view> Code() const { return text(3, 37, 9); }
  std::optional<uint16_t> ListNo() const { return number<uint16_t>(4, 46); }
  std::optional<TVO_EnumId> MANDATORY() const { return number<TVO_EnumId>(5, 48); }
  std::optional<TVO_EnumId> HIDDEN() const { return number<TVO_EnumId>(6, 52); }
  std::optional<TVO_EnumId> HIDEALWAYS() const { return number<TVO_EnumId>(7, 56); }
  std::optional<AnyValue> Default() const { return value<TVO_DefaultValue>(8, 60); }
  std::optional<double> RangeLow() const { return number<double>(9, 113); }
  std::optional<double> RangeHigh() const { return number<double>(10, 121); }
};

// ELLIPSOIDS in DEFINITIONS.
class Ellipsoid : public Record {
 public:
  static constexpr uint32_t kType = 77;
  using Record::Record;
  std::optional<uint16_t> EllipsoidNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<double> A() const { return number<double>(2, 33); }
  std::optional<double> F() const { return number<double>(3, 41); }
  std::optional<Time> Date() const { return time(49); }
};

// UTM in MAPPRJ_PARAMS.
class Utm : public Record {
 public:
  static constexpr uint32_t kType = 78;
  using Record::Record;
  std::optional<uint16_t> MapPrjNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<Time> Date() const { return time(33); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(3, 47); }
  std::optional<double> MinLat() const { return number<double>(4, 48); }
  std::optional<double> MaxLat() const { return number<double>(5, 56); }
  std::optional<double> MinLong() const { return number<double>(6, 64); }
  std::optional<double> MaxLong() const { return number<double>(7, 72); }
  std::optional<float> Geoid() const { return number<float>(8, 80); }
  std::optional<uint16_t> ZoneNo() const { return number<uint16_t>(9, 84); }
  std::optional<TVO_EnumId> HEMISPHERE() const { return number<TVO_EnumId>(10, 86); }
};

// LAMBERT in MAPPRJ_PARAMS.
class Lambert : public Record {
 public:
  static constexpr uint32_t kType = 79;
  using Record::Record;
  std::optional<uint16_t> MapPrjNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<Time> Date() const { return time(33); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(3, 47); }
  std::optional<double> MinLat() const { return number<double>(4, 48); }
  std::optional<double> MaxLat() const { return number<double>(5, 56); }
  std::optional<double> MinLong() const { return number<double>(6, 64); }
  std::optional<double> MaxLong() const { return number<double>(7, 72); }
  std::optional<float> Geoid() const { return number<float>(8, 80); }
  std::optional<double> FalseEast() const { return number<double>(9, 84); }
  std::optional<double> FalseNorth() const { return number<double>(10, 92); }
  std::optional<double> OriginLat() const { return number<double>(11, 100); }
  std::optional<double> OriginLong() const { return number<double>(12, 108); }
  std::optional<double> PhiNorth() const { return number<double>(13, 116); }
  std::optional<double> PhiSouth() const { return number<double>(14, 124); }
  std::optional<TVO_EnumId> HEMISPHERE() const { return number<TVO_EnumId>(15, 132); }
};

// LAMBERT_WITH_SCALE in MAPPRJ_PARAMS.
class LambertWithScale : public Record {
 public:
  static constexpr uint32_t kType = 103;
  using Record::Record;
  std::optional<uint16_t> MapPrjNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<Time> Date() const { return time(33); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(3, 47); }
  std::optional<double> MinLat() const { return number<double>(4, 48); }
  std::optional<double> MaxLat() const { return number<double>(5, 56); }
  std::optional<double> MinLong() const { return number<double>(6, 64); }
  std::optional<double> MaxLong() const { return number<double>(7, 72); }
  std::optional<float> Geoid() const { return number<float>(8, 80); }
  std::optional<double> FalseEast() const { return number<double>(9, 84); }
  std::optional<double> FalseNorth() const { return number<double>(10, 92); }
  std::optional<double> OriginLat() const { return number<double>(11, 100); }
  std::optional<double> OriginLong() const { return number<double>(12, 108); }
  std::optional<double> Phi() const { return number<double>(13, 116); }
  std::optional<double> Scale() const { return number<double>(14, 124); }
  std::optional<TVO_EnumId> HEMISPHERE() const { return number<TVO_EnumId>(15, 132); }
};

// MERCATOR in MAPPRJ_PARAMS.
class Mercator : public Record {
 public:
  static constexpr uint32_t kType = 80;
  using Record::Record;
  std::optional<uint16_t> MapPrjNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<Time> Date() const { return time(33); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(3, 47); }
  std::optional<double> MinLat() const { return number<double>(4, 48); }
  std::optional<double> MaxLat() const { return number<double>(5, 56); }
  std::optional<double> MinLong() const { return number<double>(6, 64); }
  std::optional<double> MaxLong() const { return number<double>(7, 72); }
  std::optional<float> Geoid() const { return number<float>(8, 80); }
  std::optional<double> FalseEast() const { return number<double>(9, 84); }
  std::optional<double> FalseNorth() const { return number<double>(10, 92); }
  std::optional<double> OriginLat() const { return number<double>(11, 100); }
  std::optional<double> OriginLong() const { return number<double>(12, 108); }
  std::optional<double> Scale() const { return number<double>(13, 116); }
  std::optional<double> ZoneWidth() const { return number<double>(14, 124); }
  std::optional<TVO_EnumId> HEMISPHERE() const { return number<TVO_EnumId>(15, 132); }
};

// MERCATOR_2 in MAPPRJ_PARAMS.
class Mercator2 : public Record {
 public:
  static constexpr uint32_t kType = 104;
  using Record::Record;
  std::optional<uint16_t> MapPrjNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<Time> Date() const { return time(33); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(3, 47); }
  std::optional<double> MinLat() const { return number<double>(4, 48); }
  std::optional<double> MaxLat() const { return number<double>(5, 56); }
  std::optional<double> MinLong() const { return number<double>(6, 64); }
  std::optional<double> MaxLong() const { return number<double>(7, 72); }
  std::optional<float> Geoid() const { return number<float>(8, 80); }
  std::optional<double> FalseEast() const { return number<double>(9, 84); }
  std::optional<double> FalseNorth() const { return number<double>(10, 92); }
  std::optional<double> OriginLong() const { return number<double>(11, 100); }
  std::optional<TVO_EnumId> HEMISPHERE() const { return number<TVO_EnumId>(12, 108); }
};

// OBLIQUE_MERCATOR in MAPPRJ_PARAMS.
class ObliqueMercator : public Record {
 public:
  static constexpr uint32_t kType = 81;
  using Record::Record;
  std::optional<uint16_t> MapPrjNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<Time> Date() const { return time(33); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(3, 47); }
  std::optional<double> MinLat() const { return number<double>(4, 48); }
  std::optional<double> MaxLat() const { return number<double>(5, 56); }
  std::optional<double> MinLong() const { return number<double>(6, 64); }
  std::optional<double> MaxLong() const { return number<double>(7, 72); }
  std::optional<float> Geoid() const { return number<float>(8, 80); }
  std::optional<double> FalseEast() const { return number<double>(9, 84); }
  std::optional<double> FalseNorth() const { return number<double>(10, 92); }
  std::optional<double> OriginLat() const { return number<double>(11, 100); }
  std::optional<double> OriginLong() const { return number<double>(12, 108); }
  std::optional<double> Scale() const { return number<double>(13, 116); }
  std::optional<double> SkewAxis() const { return number<double>(14, 124); }
  std::optional<TVO_EnumId> HEMISPHERE() const { return number<TVO_EnumId>(15, 132); }
  std::optional<TVO_EnumId> ANGLETYPE() const { return number<TVO_EnumId>(16, 136); }
};

// DOUBLE_STEREOGRAPHIC in MAPPRJ_PARAMS.
class DoubleStereographic : public Record {
 public:
  static constexpr uint32_t kType = 82;
  using Record::Record;
  std::optional<uint16_t> MapPrjNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<Time> Date() const { return time(33); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(3, 47); }
  std::optional<double> MinLat() const { return number<double>(4, 48); }
  std::optional<double> MaxLat() const { return number<double>(5, 56); }
  std::optional<double> MinLong() const { return number<double>(6, 64); }
  std::optional<double> MaxLong() const { return number<double>(7, 72); }
  std::optional<float> Geoid() const { return number<float>(8, 80); }
  std::optional<double> FalseEast() const { return number<double>(9, 84); }
  std::optional<double> FalseNorth() const { return number<double>(10, 92); }
  std::optional<double> OriginLat() const { return number<double>(11, 100); }
  std::optional<double> OriginLong() const { return number<double>(12, 108); }
  std::optional<double> Scale() const { return number<double>(13, 116); }
  std::optional<TVO_EnumId> HEMISPHERE() const { return number<TVO_EnumId>(14, 124); }
};

// POLAR_STEREOGRAPHIC in MAPPRJ_PARAMS.
class PolarStereographic : public Record {
 public:
  static constexpr uint32_t kType = 105;
  using Record::Record;
  std::optional<uint16_t> MapPrjNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<Time> Date() const { return time(33); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(3, 47); }
  std::optional<double> MinLat() const { return number<double>(4, 48); }
  std::optional<double> MaxLat() const { return number<double>(5, 56); }
  std::optional<double> MinLong() const { return number<double>(6, 64); }
  std::optional<double> MaxLong() const { return number<double>(7, 72); }
  std::optional<float> Geoid() const { return number<float>(8, 80); }
  std::optional<double> FalseEast() const { return number<double>(9, 84); }
  std::optional<double> FalseNorth() const { return number<double>(10, 92); }
  std::optional<double> OriginLat() const { return number<double>(11, 100); }
  std::optional<double> OriginLong() const { return number<double>(12, 108); }
  std::optional<double> Scale() const { return number<double>(13, 116); }
  std::optional<TVO_EnumId> HEMISPHERE() const { return number<TVO_EnumId>(14, 124); }
};

// RSO in MAPPRJ_PARAMS.
class Rso : public Record {
 public:
  static constexpr uint32_t kType = 106;
  using Record::Record;
  std::optional<uint16_t> MapPrjNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<Time> Date() const { return time(33); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(3, 47); }
  std::optional<double> MinLat() const { return number<double>(4, 48); }
  std::optional<double> MaxLat() const { return number<double>(5, 56); }
  std::optional<double> MinLong() const { return number<double>(6, 64); }
  std::optional<double> MaxLong() const { return number<double>(7, 72); }
  std::optional<float> Geoid() const { return number<float>(8, 80); }
  std::optional<double> FalseEast() const { return number<double>(9, 84); }
  std::optional<double> FalseNorth() const { return number<double>(10, 92); }
  std::optional<double> OriginLat() const { return number<double>(11, 100); }
  std::optional<double> OriginLong() const { return number<double>(12, 108); }
  std::optional<double> SkewAxis() const { return number<double>(13, 116); }
  std::optional<double> Scale() const { return number<double>(14, 124); }
  std::optional<TVO_EnumId> RECTIFYTYPE() const { return number<TVO_EnumId>(15, 132); }
  std::optional<TVO_EnumId> ANGLETYPE() const { return number<TVO_EnumId>(16, 136); }
  std::optional<TVO_EnumId> HEMISPHERE() const { return number<TVO_EnumId>(17, 140); }
};

// CASSINI_SOLDNER in MAPPRJ_PARAMS.
class CassiniSoldner : public Record {
 public:
  static constexpr uint32_t kType = 107;
  using Record::Record;
  std::optional<uint16_t> MapPrjNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<Time> Date() const { return time(33); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(3, 47); }
  std::optional<double> MinLat() const { return number<double>(4, 48); }
  std::optional<double> MaxLat() const { return number<double>(5, 56); }
  std::optional<double> MinLong() const { return number<double>(6, 64); }
  std::optional<double> MaxLong() const { return number<double>(7, 72); }
  std::optional<float> Geoid() const { return number<float>(8, 80); }
  std::optional<double> FalseEast() const { return number<double>(9, 84); }
  std::optional<double> FalseNorth() const { return number<double>(10, 92); }
  std::optional<double> OriginLat() const { return number<double>(11, 100); }
  std::optional<double> OriginLong() const { return number<double>(12, 108); }
  std::optional<TVO_EnumId> HEMISPHERE() const { return number<TVO_EnumId>(13, 116); }
};

// PLANE in MAPPRJ_PARAMS.
class Plane : public Record {
 public:
  static constexpr uint32_t kType = 83;
  using Record::Record;
  std::optional<uint16_t> MapPrjNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<Time> Date() const { return time(33); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(3, 47); }
  std::optional<double> Scale() const { return number<double>(4, 48); }
};

// SPECIAL in MAPPRJ_PARAMS.
class Special : public Record {
 public:
  static constexpr uint32_t kType = 84;
  using Record::Record;
  std::optional<uint16_t> MapPrjNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<Time> Date() const { return time(33); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(3, 47); }
  std::optional<TVO_EnumId> SPPRJ_TYPE() const { return number<TVO_EnumId>(4, 48); }
};

// APPROX1D in TRANSFORM_PARAMS.
class Approx1d : public Record {
 public:
  static constexpr uint32_t kType = 85;
  using Record::Record;
  std::optional<uint16_t> TrfNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<Time> Date() const { return time(33); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(3, 47); }
  std::optional<double> Xo() const { return number<double>(4, 48); }
  std::optional<double> Yo() const { return number<double>(5, 56); }
  std::optional<double> A() const { return number<double>(6, 64); }
  std::optional<double> B() const { return number<double>(7, 72); }
  std::optional<double> C() const { return number<double>(8, 80); }
};

// AFFIN2D in TRANSFORM_PARAMS.
class Affin2d : public Record {
 public:
  static constexpr uint32_t kType = 86;
  using Record::Record;
  std::optional<uint16_t> TrfNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<Time> Date() const { return time(33); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(3, 47); }
  std::optional<double> Xo() const { return number<double>(4, 48); }
  std::optional<double> Yo() const { return number<double>(5, 56); }
  std::optional<double> A1() const { return number<double>(6, 64); }
  std::optional<double> A2() const { return number<double>(7, 72); }
  std::optional<double> A3() const { return number<double>(8, 80); }
  std::optional<double> B1() const { return number<double>(9, 88); }
  std::optional<double> B2() const { return number<double>(10, 96); }
  std::optional<double> B3() const { return number<double>(11, 104); }
};

// HELMERT2D in TRANSFORM_PARAMS.
class Helmert2d : public Record {
 public:
  static constexpr uint32_t kType = 87;
  using Record::Record;
  std::optional<uint16_t> TrfNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<Time> Date() const { return time(33); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(3, 47); }
  std::optional<double> Xo() const { return number<double>(4, 48); }
  std::optional<double> Yo() const { return number<double>(5, 56); }
  std::optional<double> dX() const { return number<double>(6, 64); }
  std::optional<double> dY() const { return number<double>(7, 72); }
  std::optional<double> Phi() const { return number<double>(8, 80); }
  std::optional<double> Scale() const { return number<double>(9, 88); }
  std::optional<TVO_EnumId> MODEL() const { return number<TVO_EnumId>(10, 96); }
};

// HELMERT3D in TRANSFORM_PARAMS.
class Helmert3d : public Record {
 public:
  static constexpr uint32_t kType = 88;
  using Record::Record;
  std::optional<uint16_t> TrfNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<Time> Date() const { return time(33); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(3, 47); }
  std::optional<double> Xo() const { return number<double>(4, 48); }
  std::optional<double> Yo() const { return number<double>(5, 56); }
  std::optional<double> Zo() const { return number<double>(6, 64); }
  std::optional<double> dX() const { return number<double>(7, 72); }
  std::optional<double> dY() const { return number<double>(8, 80); }
  std::optional<double> dZ() const { return number<double>(9, 88); }
  std::optional<double> PhiX() const { return number<double>(10, 96); }
  std::optional<double> PhiY() const { return number<double>(11, 104); }
  std::optional<double> PhiZ() const { return number<double>(12, 112); }
  std::optional<double> Scale() const { return number<double>(13, 120); }
  std::optional<TVO_EnumId> MODEL() const { return number<TVO_EnumId>(14, 128); }
};

// PROJECTION_SETS in DEFINITIONS.
class ProjectionSet : public Record {
 public:
  static constexpr uint32_t kType = 89;
  using Record::Record;
  std::optional<uint16_t> PrjSetNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<uint16_t> EllipsoidNo() const { return number<uint16_t>(2, 33); }
  std::optional<uint16_t> MapPrjNo() const { return number<uint16_t>(3, 35); }
  std::optional<uint16_t> LTrfNo() const { return number<uint16_t>(4, 37); }
  std::optional<uint16_t> HTrfNo() const { return number<uint16_t>(5, 39); }
  std::optional<Time> Date() const { return time(41); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(7, 55); }
  std::optional<TVO_EnumId> TYPE() const { return number<TVO_EnumId>(8, 56); }
};

// JOBS in DATABASE.
class Job : public Record {
 public:
  static constexpr uint32_t kType = 33;
  using Record::Record;
  std::optional<uint16_t> JobNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> Name() const { return text(1, 2, 31); }
  std::optional<std::string_view> Operator() const { return text(2, 33, 61); }
  std::optional<std::string_view> FieldParty() const { return text(3, 94, 61); }
  std::optional<Time> Date() const { return time(155); }
  std::optional<float> TimeZone() const { return number<float>(5, 169); }
};

// POINTS in DATABASE.
class Point : public Record {
 public:
  static constexpr uint32_t kType = 34;
  using Record::Record;
  std::optional<uint32_t> PointNo() const { return number<uint32_t>(0, 0); }
  std::optional<std::string_view> PointID() const { return text(1, 4, 17); }
  std::optional<uint16_t> JobNo() const { return number<uint16_t>(2, 21); }
  std::optional<TVO_EnumId> CLASS() const { return number<TVO_EnumId>(3, 24); }
  std::optional<uint8_t> SYS() const { return number<uint8_t>(4, 23); }
  std::optional<double> East() const { return number<double>(5, 28); }
  std::optional<double> North() const { return number<double>(6, 36); }
  std::optional<double> Elevation() const { return number<double>(7, 44); }
  std::optional<double> Longitude() const { return number<double>(8, 52); }
  std::optional<double> Latitude() const { return number<double>(9, 60); }
  std::optional<double> EllHeight() const { return number<double>(10, 68); }
  std::optional<double> X() const { return number<double>(11, 76); }
  std::optional<double> Y() const { return number<double>(12, 84); }
  std::optional<double> Z() const { return number<double>(13, 92); }
  std::optional<uint16_t> PrjSetNo() const { return number<uint16_t>(14, 100); }
  std::optional<uint16_t> CodeNo() const { return number<uint16_t>(15, 102); }
  std::optional<std::string_view> Code() const { return text(16, 104, 9); }
  std::optional<std::string_view> Description() const { return text(17, 113, 31); }
  std::optional<Time> Date() const { return time(144); }
  std::optional<uint32_t> Color() const { return number<uint32_t>(19, 158); }
  std::optional<uint16_t> LayerNo() const { return number<uint16_t>(20, 162); }
  std::optional<uint16_t> SymNo1() const { return number<uint16_t>(21, 164); }
  std::optional<uint16_t> SymNo2() const { return number<uint16_t>(22, 166); }
  std::optional<float> SymDim1() const { return number<float>(23, 168); }
  std::optional<float> SymDim2() const { return number<float>(24, 172); }
  std::optional<float> SymDir() const { return number<float>(25, 176); }
  std::optional<uint8_t> RoundingXY() const { return number<uint8_t>(26, 180); }
  std::optional<uint8_t> RoundingZ() const { return number<uint8_t>(27, 181); }
  std::optional<float> MajorAxisDir() const { return number<float>(28, 182); }
  std::optional<uint8_t> SourceXY() const { return number<uint8_t>(29, 186); }
  std::optional<uint8_t> SourceZ() const { return number<uint8_t>(30, 187); }
  std::optional<float> Geoid() const { return number<float>(31, 188); }
  std::optional<uint16_t> Flags() const { return number<uint16_t>(32, 192); }
};

// PNT_ACCURACY in POINTS.
class PntAccuracy : public Record {
 public:
  static constexpr uint32_t kType = 35;
  using Record::Record;
  std::optional<uint32_t> PointNo() const { return number<uint32_t>(0, 0); }
  std::optional<std::string_view> PointID() const { return text(1, 4, 17); }
  std::optional<float> Mo() const { return number<float>(2, 21); }
  std::optional<double> A11() const { return number<double>(3, 25); }
  std::optional<double> A12() const { return number<double>(4, 33); }
  std::optional<double> A13() const { return number<double>(5, 41); }
  std::optional<double> A22() const { return number<double>(6, 49); }
  std::optional<double> A23() const { return number<double>(7, 57); }
  std::optional<double> A33() const { return number<double>(8, 65); }
};

// THEMINFO in POINTS.
class PointTheminfo : public Record {
 public:
  static constexpr uint32_t kType = 36;
  using Record::Record;
  std::optional<uint32_t> PointNo() const { return number<uint32_t>(0, 0); }
  std::optional<std::string_view> PointID() const { return text(1, 4, 17); }
  std::optional<uint32_t> LineNo() const { return number<uint32_t>(2, 0); }
  std::optional<uint32_t> PolygonNo() const { return number<uint32_t>(3, 0); }
  std::optional<std::string_view> Attribute() const { return text(4, 21, 31); }
  std::optional<AnyValue> Value() const { return value<TVO_FreeValue>(5, 52); }
};

// ANNOTATIONS in POINTS.
class PointAnnotation : public Record {
 public:
  static constexpr uint32_t kType = 59;
  using Record::Record;
  std::optional<uint32_t> PointNo() const { return number<uint32_t>(0, 0); }
  std::optional<std::string_view> PointID() const { return text(1, 4, 17); }
  std::optional<uint32_t> LineNo() const { return number<uint32_t>(2, 21); }
  std::optional<uint32_t> PolygonNo() const { return number<uint32_t>(3, 25); }
  std::optional<TVO_EnumId> TYPE() const { return number<TVO_EnumId>(4, 29); }
  std::optional<std::string_view> Annotation() const { return text(5, 33, 61); }
};

// LINES in DATABASE.
class Line : public Record {
 public:
  static constexpr uint32_t kType = 37;
  using Record::Record;
  std::optional<uint32_t> LineNo() const { return number<uint32_t>(0, 0); }
  std::optional<std::string_view> LineID() const { return text(1, 4, 17); }
  std::optional<uint16_t> JobNo() const { return number<uint16_t>(2, 21); }
  std::optional<uint16_t> CodeNo() const { return number<uint16_t>(3, 23); }
  std::optional<std::string_view> Code() const { return text(4, 25, 9); }
  std::optional<std::string_view> Description() const { return text(5, 34, 31); }
  std::optional<uint32_t> Color() const { return number<uint32_t>(6, 65); }
  std::optional<uint16_t> LayerNo() const { return number<uint16_t>(7, 69); }
  std::optional<uint16_t> LineStyle() const { return number<uint16_t>(8, 71); }
  std::optional<uint8_t> DistType() const { return number<uint8_t>(9, 73); }
  std::optional<uint8_t> BrgRoundNo() const { return number<uint8_t>(10, 74); }
  std::optional<uint8_t> DistRoundNo() const { return number<uint8_t>(11, 75); }
  std::optional<uint8_t> CurveFactor() const { return number<uint8_t>(12, 76); }
  std::optional<uint16_t> ExagFactor() const { return number<uint16_t>(13, 77); }
  std::optional<uint16_t> Flags1() const { return number<uint16_t>(14, 79); }
  std::optional<uint16_t> Flags2() const { return number<uint16_t>(15, 81); }
};

// EDGES in LINES.
class LineEdge : public Record {
 public:
  static constexpr uint32_t kType = 38;
  using Record::Record;
  std::optional<uint32_t> LineNo() const { return number<uint32_t>(0, 0); }
  std::optional<uint32_t> PolygonNo() const { return number<uint32_t>(1, 4); }
  std::optional<uint32_t> StartPt() const { return number<uint32_t>(2, 8); }
  std::optional<std::string_view> StartPtID() const { return text(3, 12, 17); }
  std::optional<uint32_t> EndPt() const { return number<uint32_t>(4, 29); }
  std::optional<std::string_view> EndPtID() const { return text(5, 33, 17); }
  std::optional<TVO_EnumId> LINETYPE() const { return number<TVO_EnumId>(6, 50); }
};

// THEMINFO in LINES.
class LineTheminfo : public Record {
 public:
  static constexpr uint32_t kType = 39;
  using Record::Record;
  std::optional<uint32_t> PointNo() const { return number<uint32_t>(0, 0); }
  std::optional<std::string_view> PointID() const { return text(1, 4, 17); }
  std::optional<uint32_t> LineNo() const { return number<uint32_t>(2, 0); }
  std::optional<uint32_t> PolygonNo() const { return number<uint32_t>(3, 0); }
  std::optional<std::string_view> Attribute() const { return text(4, 21, 31); }
  std::optional<AnyValue> Value() const { return value<TVO_FreeValue>(5, 52); }
};

// ANNOTATIONS in LINES.
class LineAnnotation : public Record {
 public:
  static constexpr uint32_t kType = 62;
  using Record::Record;
  std::optional<uint32_t> PointNo() const { return number<uint32_t>(0, 0); }
  std::optional<std::string_view> PointID() const { return text(1, 4, 17); }
  std::optional<uint32_t> LineNo() const { return number<uint32_t>(2, 21); }
  std::optional<uint32_t> PolygonNo() const { return number<uint32_t>(3, 25); }
  std::optional<TVO_EnumId> TYPE() const { return number<TVO_EnumId>(4, 29); }
  std::optional<std::string_view> Annotation() const { return text(5, 33, 61); }
};

// POLYGONS in DATABASE.
class Polygon : public Record {
 public:
  static constexpr uint32_t kType = 40;
  using Record::Record;
  std::optional<uint32_t> PolygonNo() const { return number<uint32_t>(0, 0); }
  std::optional<std::string_view> PolygonID() const { return text(1, 4, 17); }
  std::optional<uint16_t> JobNo() const { return number<uint16_t>(2, 21); }
  std::optional<uint16_t> CodeNo() const { return number<uint16_t>(3, 23); }
  std::optional<std::string_view> Code() const { return text(4, 25, 9); }
  std::optional<std::string_view> Description() const { return text(5, 34, 31); }
  std::optional<uint32_t> Color() const { return number<uint32_t>(6, 65); }
  std::optional<uint16_t> LayerNo() const { return number<uint16_t>(7, 69); }
  std::optional<uint32_t> HatchColor() const { return number<uint32_t>(8, 71); }
  std::optional<uint8_t> FillType() const { return number<uint8_t>(9, 75); }
  std::optional<float> HatchDir() const { return number<float>(10, 76); }
  std::optional<uint16_t> LineStyle() const { return number<uint16_t>(11, 80); }
  std::optional<float> LineSpace() const { return number<float>(12, 82); }
  std::optional<uint16_t> SymNo() const { return number<uint16_t>(13, 86); }
  std::optional<float> SymDim1() const { return number<float>(14, 88); }
  std::optional<float> SymDim2() const { return number<float>(15, 92); }
  std::optional<float> SymDir() const { return number<float>(16, 96); }
  std::optional<float> SymSpace() const { return number<float>(17, 100); }
  std::optional<float> EdgeLength() const { return number<float>(18, 104); }
  std::optional<uint8_t> AngleRoundNo() const { return number<uint8_t>(19, 108); }
  std::optional<uint8_t> AreaRoundNo() const { return number<uint8_t>(20, 109); }
  std::optional<uint16_t> Flags() const { return number<uint16_t>(21, 110); }
};

// EDGES in POLYGONS.
class PolygonEdge : public Record {
 public:
  static constexpr uint32_t kType = 41;
  using Record::Record;
  std::optional<uint32_t> LineNo() const { return number<uint32_t>(0, 0); }
  std::optional<uint32_t> PolygonNo() const { return number<uint32_t>(1, 4); }
  std::optional<uint32_t> StartPt() const { return number<uint32_t>(2, 8); }
  std::optional<std::string_view> StartPtID() const { return text(3, 12, 17); }
  std::optional<uint32_t> EndPt() const { return number<uint32_t>(4, 29); }
  std::optional<std::string_view> EndPtID() const { return text(5, 33, 17); }
  std::optional<TVO_EnumId> LINETYPE() const { return number<TVO_EnumId>(6, 50); }
};

// THEMINFO in POLYGONS.
class PolygonTheminfo : public Record {
 public:
  static constexpr uint32_t kType = 42;
  using Record::Record;
  std::optional<uint32_t> PointNo() const { return number<uint32_t>(0, 0); }
  std::optional<std::string_view> PointID() const { return text(1, 4, 17); }
  std::optional<uint32_t> LineNo() const { return number<uint32_t>(2, 0); }
  std::optional<uint32_t> PolygonNo() const { return number<uint32_t>(3, 0); }
  std::optional<std::string_view> Attribute() const { return text(4, 21, 31); }
  std::optional<AnyValue> Value() const { return value<TVO_FreeValue>(5, 52); }
};

// ANNOTATIONS in POLYGONS.
class PolygonAnnotation : public Record {
 public:
  static constexpr uint32_t kType = 63;
  using Record::Record;
  std::optional<uint32_t> PointNo() const { return number<uint32_t>(0, 0); }
  std::optional<std::string_view> PointID() const { return text(1, 4, 17); }
  std::optional<uint32_t> LineNo() const { return number<uint32_t>(2, 21); }
  std::optional<uint32_t> PolygonNo() const { return number<uint32_t>(3, 25); }
  std::optional<TVO_EnumId> TYPE() const { return number<TVO_EnumId>(4, 29); }
  std::optional<std::string_view> Annotation() const { return text(5, 33, 61); }
};

// PROPERTIES in TEXT.
class Property : public Record {
 public:
  static constexpr uint32_t kType = 95;
  using Record::Record;
  std::optional<uint16_t> TextPropertyNo() const { return number<uint16_t>(0, 0); }
  std::optional<uint16_t> Units() const { return number<uint16_t>(1, 2); }
  std::optional<uint16_t> Color() const { return number<uint16_t>(2, 4); }
  std::optional<float> Height() const { return number<float>(3, 6); }
  std::optional<float> Width() const { return number<float>(4, 10); }
  std::optional<float> CharSpacing() const { return number<float>(5, 14); }
  std::optional<float> LineSpacing() const { return number<float>(6, 18); }
  std::optional<uint8_t> Style() const { return number<uint8_t>(7, 22); }
  std::optional<float> SlantAngle() const { return number<float>(8, 23); }
  std::optional<float> Thickness() const { return number<float>(9, 27); }
  std::optional<std::string_view> Font() const { return text(10, 31, 51); }
};

// BOX_ON_POINT in BOXES.
class BoxOnPoint : public Record {
 public:
  static constexpr uint32_t kType = 96;
  using Record::Record;
  std::optional<uint16_t> TextBoxNo() const { return number<uint16_t>(0, 0); }
  std::optional<uint16_t> LayerNo() const { return number<uint16_t>(1, 2); }
  std::optional<uint16_t> Units() const { return number<uint16_t>(2, 4); }
  std::optional<uint8_t> AnchorPosition() const { return number<uint8_t>(3, 6); }
  std::optional<uint32_t> AnchorPointNo() const { return number<uint32_t>(4, 7); }
  std::optional<float> OffsetEast() const { return number<float>(5, 11); }
  std::optional<float> OffsetNorth() const { return number<float>(6, 15); }
  std::optional<float> OffsetElevation() const { return number<float>(7, 19); }
  std::optional<float> HzDirection() const { return number<float>(8, 23); }
};

// ITEMS in TEXT.
class Item : public Record {
 public:
  static constexpr uint32_t kType = 97;
  using Record::Record;
  std::optional<uint16_t> TextItemNo() const { return number<uint16_t>(0, 0); }
  std::optional<uint16_t> TextBoxNo() const { return number<uint16_t>(1, 2); }
  std::optional<uint16_t> TextPropertyNo() const { return number<uint16_t>(2, 4); }
  std::optional<uint16_t> LineNo() const { return number<uint16_t>(3, 6); }
  std::optional<std::string_view> TextItem() const { return text(4, 8, 101); }
};

// ELEMENTS in METEO.
class Element : public Record {
 public:
  static constexpr uint32_t kType = 44;
  using Record::Record;
  std::optional<uint32_t> StnNo() const { return number<uint32_t>(0, 0); }
  std::optional<std::string_view> StnID() const { return text(1, 4, 17); }
  std::optional<Time> Date() const { return time(21); }
  std::optional<float> WetTemp() const { return number<float>(3, 35); }
  std::optional<float> DryTemp() const { return number<float>(4, 39); }
  std::optional<float> AtmPress() const { return number<float>(5, 43); }
  std::optional<float> RefCoeff() const { return number<float>(6, 47); }
  std::optional<std::string_view> Note() const { return text(7, 51, 31); }
};

// INSTRUMENTS in THEODOLITE.
class Instrument : public Record {
 public:
  static constexpr uint32_t kType = 50;
  using Record::Record;
  std::optional<std::string_view> Name() const { return text(0, 0, 31); }
  std::optional<uint32_t> TheoNo() const { return number<uint32_t>(1, 31); }
  std::optional<uint32_t> EDMNo() const { return number<uint32_t>(2, 35); }
};

// CONFIGS in THEODOLITE.
class Config : public Record {
 public:
  static constexpr uint32_t kType = 51;
  using Record::Record;
  std::optional<uint16_t> CfgNo() const { return number<uint16_t>(0, 0); }
  std::optional<std::string_view> InstrName() const { return text(1, 2, 31); }
  std::optional<Time> Date() const { return time(33); }
  std::optional<float> AddConst() const { return number<float>(3, 47); }
  std::optional<double> Collimation() const { return number<double>(4, 51); }
  std::optional<double> TiltAxis() const { return number<double>(5, 59); }
  std::optional<double> Index() const { return number<double>(6, 67); }
};

// APRIORI_ERRORS in THEODOLITE.
class AprioriError : public Record {
 public:
  static constexpr uint32_t kType = 52;
  using Record::Record;
  std::optional<uint16_t> CfgNo() const { return number<uint16_t>(0, 0); }
  std::optional<double> Hz() const { return number<double>(1, 2); }
  std::optional<double> Vz() const { return number<double>(2, 10); }
  std::optional<float> SDist() const { return number<float>(3, 18); }
  std::optional<float> InstrHt() const { return number<float>(4, 22); }
  std::optional<float> RefHt() const { return number<float>(5, 26); }
};

// SETUP in THEODOLITE.
class Setup : public Record {
 public:
  static constexpr uint32_t kType = 53;
  using Record::Record;
  std::optional<uint32_t> STN_NO() const { return number<uint32_t>(0, 0); }
  std::optional<std::string_view> STN_ID() const { return text(1, 4, 17); }
  std::optional<float> INST_HT() const { return number<float>(2, 21); }
  std::optional<Time> Date() const { return time(25); }
};

// SLOPE in THEODOLITE.
class Slope : public Record {
 public:
  static constexpr uint32_t kType = 54;
  using Record::Record;
  std::optional<uint32_t> TgtNo() const { return number<uint32_t>(0, 0); }
  std::optional<std::string_view> TgtID() const { return text(1, 4, 17); }
  std::optional<double> Hz() const { return number<double>(2, 21); }
  std::optional<double> Vz() const { return number<double>(3, 29); }
  std::optional<double> SDist() const { return number<double>(4, 37); }
  std::optional<float> RefHt() const { return number<float>(5, 45); }
  std::optional<float> Ppm() const { return number<float>(6, 49); }
  std::optional<double> Ori() const { return number<double>(7, 53); }
  std::optional<uint16_t> CfgNo() const { return number<uint16_t>(8, 61); }
  std::optional<Time> Date() const { return time(63); }
  std::optional<float> OffsetUp() const { return number<float>(10, 77); }
  std::optional<float> OffsetRight() const { return number<float>(11, 81); }
  std::optional<float> OffsetAway() const { return number<float>(12, 85); }
  std::optional<double> InclinLength() const { return number<double>(13, 89); }
  std::optional<double> InclinCross() const { return number<double>(14, 97); }
  std::optional<uint8_t> ApplType() const { return number<uint8_t>(15, 105); }
  std::optional<uint8_t> Flags() const { return number<uint8_t>(16, 106); }
  std::optional<std::string_view> Note() const { return text(17, 107, 31); }
};

// The arrays of a survey by name.
template <class Survey, template <class> class Range>
class SurveyRecords {
 public:
  Range<Header> header() const { return of<Header>(); }
  Range<Units> units() const { return of<Units>(); }
  Range<Offsets> offsets() const { return of<Offsets>(); }
  Range<Project> project() const { return of<Project>(); }
  Range<Subject> subjects() const { return of<Subject>(); }
  Range<Layer> layers() const { return of<Layer>(); }
  Range<SubjectLayerList> subjectLayerList() const { return of<SubjectLayerList>(); }
  Range<Choicelist> choicelist() const { return of<Choicelist>(); }
  Range<Codelist> codelist() const { return of<Codelist>(); }
  Range<CodeEntry> codes() const { return of<CodeEntry>(); }
  Range<AttributeEntry> attributes() const { return of<AttributeEntry>(); }
  Range<Ellipsoid> ellipsoids() const { return of<Ellipsoid>(); }
  Range<Utm> utm() const { return of<Utm>(); }
  Range<Lambert> lambert() const { return of<Lambert>(); }
  Range<LambertWithScale> lambertWithScale() const { return of<LambertWithScale>(); }
  Range<Mercator> mercator() const { return of<Mercator>(); }
  Range<Mercator2> mercator2() const { return of<Mercator2>(); }
  Range<ObliqueMercator> obliqueMercator() const { return of<ObliqueMercator>(); }
  Range<DoubleStereographic> doubleStereographic() const { return of<DoubleStereographic>(); }
  Range<PolarStereographic> polarStereographic() const { return of<PolarStereographic>(); }
  Range<Rso> rso() const { return of<Rso>(); }
  Range<CassiniSoldner> cassiniSoldner() const { return of<CassiniSoldner>(); }
  Range<Plane> plane() const { return of<Plane>(); }
  Range<Special> special() const { return of<Special>(); }
  Range<Approx1d> approx1d() const { return of<Approx1d>(); }
  Range<Affin2d> affin2d() const { return of<Affin2d>(); }
  Range<Helmert2d> helmert2d() const { return of<Helmert2d>(); }
  Range<Helmert3d> helmert3d() const { return of<Helmert3d>(); }
  Range<ProjectionSet> projectionSets() const { return of<ProjectionSet>(); }
  Range<Job> jobs() const { return of<Job>(); }
  Range<Point> points() const { return of<Point>(); }
  Range<PntAccuracy> pntAccuracy() const { return of<PntAccuracy>(); }
  Range<PointTheminfo> pointTheminfo() const { return of<PointTheminfo>(); }
  Range<PointAnnotation> pointAnnotations() const { return of<PointAnnotation>(); }
  Range<Line> lines() const { return of<Line>(); }
  Range<LineEdge> lineEdges() const { return of<LineEdge>(); }
  Range<LineTheminfo> lineTheminfo() const { return of<LineTheminfo>(); }
  Range<LineAnnotation> lineAnnotations() const { return of<LineAnnotation>(); }
  Range<Polygon> polygons() const { return of<Polygon>(); }
  Range<PolygonEdge> polygonEdges() const { return of<PolygonEdge>(); }
  Range<PolygonTheminfo> polygonTheminfo() const { return of<PolygonTheminfo>(); }
  Range<PolygonAnnotation> polygonAnnotations() const { return of<PolygonAnnotation>(); }
  Range<Property> properties() const { return of<Property>(); }
  Range<BoxOnPoint> boxOnPoint() const { return of<BoxOnPoint>(); }
  Range<Item> items() const { return of<Item>(); }
  Range<Element> elements() const { return of<Element>(); }
  Range<Instrument> instruments() const { return of<Instrument>(); }
  Range<Config> configs() const { return of<Config>(); }
  Range<AprioriError> aprioriErrors() const { return of<AprioriError>(); }
  Range<Setup> setup() const { return of<Setup>(); }
  Range<Slope> slope() const { return of<Slope>(); }

 private:
  template <class R>
  Range<R> of() const {
    return static_cast<const Survey*>(this)->template records<R>();
  }
};

}  // namespace tavo
