// Map projections, forward: latitude and longitude on an ellipsoid to easting and northing, to a
// tenth of a millimetre where the projection is in use. Beside each method stand the names and
// numbers by which reference systems call it and its parameters.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <variant>

namespace tavo::survey {

inline constexpr double kPi = 3.14159265358979323846;
inline constexpr double kDegree = kPi / 180;

// Semi-major axis in metres and flattening, 0 of a sphere.
struct Ellipsoid {
  double a = 0, f = 0;
  double e2() const { return f * (2 - f); }
};

enum class Method {
  kTransverseMercator,
  kLambertOneParallel,
  kLambertTwoParallels,
  kMercator,
  kHotineNatural,  // false coordinates are those of the natural origin (variant A)
  kHotineCentre,   // false coordinates are those of the projection centre (variant B)
  kObliqueStereographic,
  kPolarByScale,     // variant A: scale at the pole
  kPolarByParallel,  // variant B: parallel of true scale
  kCassiniSoldner,
  kNewZealand,
};

// A method with its parameters: radians and metres. Those that the method has no use for are not
// looked at.
struct Projection {
  Method method = Method::kTransverseMercator;
  double lat = 0, lon = 0;  // of the origin, or of the projection centre
  double parallel1 = 0, parallel2 = 0;
  double scale = 1;
  double east = 0, north = 0;  // false coordinates
  // Of the initial line at the centre, -90 (excluded) to 90 degrees; from rectified to skew grid.
  double azimuth = 0, rectified = 0;
};

enum class Quantity { kAngle, kLength, kRatio };
struct ParameterName {
  const char* name;
  int code;  // of the EPSG registry
  double Projection::*member;
  Quantity quantity;
};
struct MethodName {
  const char* name;
  int code;
  std::span<const ParameterName> parameters;
};
const MethodName& nameOf(Method method);

struct Plane {
  double east = 0, north = 0;
};

namespace projections {

// Distances on the meridian, and the series between conformal and rectifying sphere.
class Meridian {
 public:
  Meridian() = default;
  explicit Meridian(const Ellipsoid& ellipsoid);
  // Metres per radian of rectifying latitude.
  double radius() const { return radius_; }
  // Conformal sphere's (xi, eta) to the rectifying one's, both in radians.
  Plane rectify(double xi, double eta) const;
  // Metres from the equator.
  double arc(double lat) const;

 private:
  double e_ = 0, radius_ = 0;
  std::array<double, 6> series_{};
};

// One for each method, made from sound parameters. Called with a latitude and a longitude that
// counts from the origin's, they give coordinates without the false ones; not finite: outside.
struct TransverseMercator {
  TransverseMercator(const Projection& p, const Ellipsoid& ellipsoid);
  Plane operator()(double lat, double lon) const;
  Meridian meridian;
  double e, scale, origin;
};
struct Lambert {
  Lambert(const Projection& p, const Ellipsoid& ellipsoid);
  Plane operator()(double lat, double lon) const;
  double radius(double lat) const;
  double e, n, factor, origin;
};
struct Mercator {
  Mercator(const Projection& p, const Ellipsoid& ellipsoid);
  Plane operator()(double lat, double lon) const;
  double e, factor;
};
struct Hotine {
  Hotine(const Projection& p, const Ellipsoid& ellipsoid);
  Plane operator()(double lat, double lon) const;
  Plane skew(double lat, double lon) const;  // along the initial line, and to the right of it
  double e, a, b, h, gamma, lon0, rectified, centre;
};
struct ObliqueStereographic {
  ObliqueStereographic(const Projection& p, const Ellipsoid& ellipsoid);
  Plane operator()(double lat, double lon) const;
  double conformal(double lat) const;
  double e, n, shift, chi0, factor;
};
struct PolarStereographic {
  PolarStereographic(const Projection& p, const Ellipsoid& ellipsoid);
  Plane operator()(double lat, double lon) const;
  double e, pole, factor;  // pole: 1 north, -1 south
};
struct CassiniSoldner {
  CassiniSoldner(const Projection& p, const Ellipsoid& ellipsoid);
  Plane operator()(double lat, double lon) const;
  Meridian meridian;
  double a, e2, origin;
};
struct NewZealand {
  NewZealand(const Projection& p, const Ellipsoid& ellipsoid);
  Plane operator()(double lat, double lon) const;
  double a, lat0;
};

}  // namespace projections

// Latitude, longitude and height on an ellipsoid.
struct Geographic {
  double lat = 0, lon = 0, height = 0;
};

// A projection on an ellipsoid, ready to project any number of points.
class Projector {
 public:
  // Nothing where the parameters make no projection.
  static std::optional<Projector> make(const Projection& projection, const Ellipsoid& ellipsoid);

  // Nothing where the point cannot be projected. Radians, longitude from Greenwich.
  std::optional<Plane> forward(double lat, double lon) const;
  // The latitude and longitude that are projected there; nothing where the search finds none.
  std::optional<Geographic> inverse(const Plane& at) const;

 private:
  using Formulas = std::variant<projections::TransverseMercator, projections::Lambert,
                                projections::Mercator, projections::Hotine,
                                projections::ObliqueStereographic, projections::PolarStereographic,
                                projections::CassiniSoldner, projections::NewZealand>;
  Projector(const Projection& projection, const Formulas& formulas)
      : projection_(projection), formulas_(formulas) {}
  static Formulas formulas(const Projection& projection, const Ellipsoid& ellipsoid);

  Projection projection_;
  Formulas formulas_;
};

// The azimuth at the centre of the line whose rectifying angle, where it meets the aposphere's
// equator, is `gamma`, in the same half plane as it. Nothing where no line has that angle.
std::optional<double> azimuthOf(double gamma, double lat, const Ellipsoid& ellipsoid);

// Of geocentric coordinates.
Geographic fromGeocentric(double x, double y, double z, const Ellipsoid& ellipsoid);

}  // namespace tavo::survey
