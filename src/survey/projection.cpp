// The formulas of the projections: those of the EPSG guidance note on coordinate conversions, with
// the isometric latitude in place of powers of tangents, and Krueger's series to the sixth order.
#include "survey/projection.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>

namespace tavo::survey {
namespace {

constexpr double kOutside = std::numeric_limits<double>::quiet_NaN();
// Nearer to a pole, or to an angle at which a formula has its special case, is there.
constexpr double kNear = 1e-10;

double sqr(double x) { return x * x; }
double eccentricity(const Ellipsoid& ellipsoid) { return std::sqrt(ellipsoid.e2()); }

// The Mercator projection's northing on a unit ellipsoid.
double isometric(double lat, double e) {
  return std::asinh(std::tan(lat)) - e * std::atanh(e * std::sin(lat));
}

// Radius of a parallel in units of the semi-major axis.
double parallelRadius(double lat, double e) {
  return std::cos(lat) / std::sqrt(1 - sqr(e * std::sin(lat)));
}

// Of the Hotine projection: the aposphere's constants at the latitude of the centre.
double hotineB(double lat, double e2) {
  return std::sqrt(1 + e2 * sqr(sqr(std::cos(lat))) / (1 - e2));
}
double hotineD(double lat, double e2) {
  const double d =
      hotineB(lat, e2) * std::sqrt((1 - e2) / (1 - e2 * sqr(std::sin(lat)))) / std::cos(lat);
  return std::max(d, 1.0);  // less by rounding alone
}

double wrapped(double lon) { return std::remainder(lon, 2 * kPi); }

constexpr ParameterName kLat{"Latitude of natural origin", 8801, &Projection::lat,
                             Quantity::kAngle};
constexpr ParameterName kLon{"Longitude of natural origin", 8802, &Projection::lon,
                             Quantity::kAngle};
constexpr ParameterName kScale{"Scale factor at natural origin", 8805, &Projection::scale,
                               Quantity::kRatio};
constexpr ParameterName kEast{"False easting", 8806, &Projection::east, Quantity::kLength};
constexpr ParameterName kNorth{"False northing", 8807, &Projection::north, Quantity::kLength};
constexpr ParameterName kCentreLat{"Latitude of projection centre", 8811, &Projection::lat,
                                   Quantity::kAngle};
constexpr ParameterName kCentreLon{"Longitude of projection centre", 8812, &Projection::lon,
                                   Quantity::kAngle};
constexpr ParameterName kAzimuth{"Azimuth of initial line", 8813, &Projection::azimuth,
                                 Quantity::kAngle};
constexpr ParameterName kRectified{"Angle from Rectified to Skew Grid", 8814,
                                   &Projection::rectified, Quantity::kAngle};
constexpr ParameterName kLineScale{"Scale factor on initial line", 8815, &Projection::scale,
                                   Quantity::kRatio};

constexpr ParameterName kNatural[] = {kLat, kLon, kScale, kEast, kNorth};
constexpr ParameterName kUnscaled[] = {kLat, kLon, kEast, kNorth};
constexpr ParameterName kTwoParallels[] = {
    {"Latitude of false origin", 8821, &Projection::lat, Quantity::kAngle},
    {"Longitude of false origin", 8822, &Projection::lon, Quantity::kAngle},
    {"Latitude of 1st standard parallel", 8823, &Projection::parallel1, Quantity::kAngle},
    {"Latitude of 2nd standard parallel", 8824, &Projection::parallel2, Quantity::kAngle},
    {"Easting at false origin", 8826, &Projection::east, Quantity::kLength},
    {"Northing at false origin", 8827, &Projection::north, Quantity::kLength},
};
constexpr ParameterName kHotineA[] = {kCentreLat, kCentreLon, kAzimuth, kRectified,
                                      kLineScale, kEast,      kNorth};
constexpr ParameterName kHotineB[] = {
    kCentreLat,
    kCentreLon,
    kAzimuth,
    kRectified,
    kLineScale,
    {"Easting at projection centre", 8816, &Projection::east, Quantity::kLength},
    {"Northing at projection centre", 8817, &Projection::north, Quantity::kLength},
};
constexpr ParameterName kParallel[] = {
    {"Latitude of standard parallel", 8832, &Projection::lat, Quantity::kAngle},
    {"Longitude of origin", 8833, &Projection::lon, Quantity::kAngle},
    kEast,
    kNorth,
};

// In the order of Method.
constexpr MethodName kMethods[] = {
    {"Transverse Mercator", 9807, kNatural},
    {"Lambert Conic Conformal (1SP)", 9801, kNatural},
    {"Lambert Conic Conformal (2SP)", 9802, kTwoParallels},
    {"Mercator (variant A)", 9804, kNatural},
    {"Hotine Oblique Mercator (variant A)", 9812, kHotineA},
    {"Hotine Oblique Mercator (variant B)", 9815, kHotineB},
    {"Oblique Stereographic", 9809, kNatural},
    {"Polar Stereographic (variant A)", 9810, kNatural},
    {"Polar Stereographic (variant B)", 9829, kParallel},
    {"Cassini-Soldner", 9806, kUnscaled},
    {"New Zealand Map Grid", 9811, kUnscaled},
};
static_assert(std::size(kMethods) == static_cast<size_t>(Method::kNewZealand) + 1);

}  // namespace

const MethodName& nameOf(Method method) { return kMethods[static_cast<size_t>(method)]; }

namespace projections {

Meridian::Meridian(const Ellipsoid& ellipsoid) : e_(eccentricity(ellipsoid)) {
  const double n = ellipsoid.f / (2 - ellipsoid.f), n2 = n * n, n3 = n2 * n, n4 = n2 * n2,
               n5 = n4 * n, n6 = n3 * n3;
  radius_ = ellipsoid.a / (1 + n) * (1 + n2 / 4 + n4 / 64 + n6 / 256);
  series_ = {n / 2 - n2 * 2 / 3 + n3 * 5 / 16 + n4 * 41 / 180 - n5 * 127 / 288 + n6 * 7891 / 37800,
             n2 * 13 / 48 - n3 * 3 / 5 + n4 * 557 / 1440 + n5 * 281 / 630 - n6 * 1983433 / 1935360,
             n3 * 61 / 240 - n4 * 103 / 140 + n5 * 15061 / 26880 + n6 * 167603 / 181440,
             n4 * 49561 / 161280 - n5 * 179 / 168 + n6 * 6601661 / 7257600,
             n5 * 34729 / 80640 - n6 * 3418889 / 1995840,
             n6 * 212378941 / 319334400};
}

Plane Meridian::rectify(double xi, double eta) const {
  Plane out{eta, xi};
  for (size_t i = 0; i < series_.size(); ++i) {
    const double k = 2 * static_cast<double>(i + 1);
    out.north += series_[i] * std::sin(k * xi) * std::cosh(k * eta);
    out.east += series_[i] * std::cos(k * xi) * std::sinh(k * eta);
  }
  return out;
}

double Meridian::arc(double lat) const {
  return radius_ * rectify(std::atan(std::sinh(isometric(lat, e_))), 0).north;
}

TransverseMercator::TransverseMercator(const Projection& p, const Ellipsoid& ellipsoid)
    : meridian(ellipsoid),
      e(eccentricity(ellipsoid)),
      scale(p.scale),
      origin(meridian.arc(p.lat)) {}

Plane TransverseMercator::operator()(double lat, double lon) const {
  const double tau = std::sinh(isometric(lat, e));
  const double eta = std::asinh(std::sin(lon) / std::hypot(tau, std::cos(lon)));
  constexpr double kFarthest = 2.6;  // the series no longer converges beyond
  if (!(std::fabs(eta) < kFarthest)) return {kOutside, kOutside};
  const Plane at = meridian.rectify(std::atan2(tau, std::cos(lon)), eta);
  return {scale * meridian.radius() * at.east, scale * (meridian.radius() * at.north - origin)};
}

Lambert::Lambert(const Projection& p, const Ellipsoid& ellipsoid) : e(eccentricity(ellipsoid)) {
  const bool two = p.method == Method::kLambertTwoParallels;
  const double lat1 = two ? p.parallel1 : p.lat, lat2 = two ? p.parallel2 : p.lat;
  const double m1 = parallelRadius(lat1, e);
  n = std::fabs(lat1 - lat2) < kNear
          ? std::sin(lat1)
          : std::log(m1 / parallelRadius(lat2, e)) / (isometric(lat2, e) - isometric(lat1, e));
  factor = ellipsoid.a * (two ? 1 : p.scale) * m1 / n * std::exp(n * isometric(lat1, e));
  origin = radius(p.lat);
}

double Lambert::radius(double lat) const {
  if (kPi / 2 - std::fabs(lat) < kNear) return lat * n > 0 ? 0 : kOutside;
  return factor * std::exp(-n * isometric(lat, e));
}

Plane Lambert::operator()(double lat, double lon) const {
  const double r = radius(lat);
  return {r * std::sin(n * lon), origin - r * std::cos(n * lon)};
}

Mercator::Mercator(const Projection& p, const Ellipsoid& ellipsoid)
    : e(eccentricity(ellipsoid)), factor(ellipsoid.a * p.scale) {}

Plane Mercator::operator()(double lat, double lon) const {
  if (kPi / 2 - std::fabs(lat) < kNear) return {kOutside, kOutside};
  return {factor * lon, factor * isometric(lat, e)};
}

Hotine::Hotine(const Projection& p, const Ellipsoid& ellipsoid)
    : e(eccentricity(ellipsoid)), rectified(p.rectified), centre(0) {
  const double e2 = ellipsoid.e2(), d = hotineD(p.lat, e2);
  b = hotineB(p.lat, e2);
  a = ellipsoid.a * b * p.scale * std::sqrt(1 - e2) / (1 - e2 * sqr(std::sin(p.lat)));
  const double f = d + std::copysign(std::sqrt(d * d - 1), p.lat);
  h = f * std::exp(-b * isometric(p.lat, e));
  // At which angle the line leaves the aposphere's equator, and where.
  gamma = std::asin(std::clamp(std::sin(p.azimuth) / d, -1.0, 1.0));
  const double g = (f - 1 / f) / 2 * std::tan(gamma);
  // A line at right angles to the meridian has its pole 90 degrees away, whatever rounding says.
  const bool across = std::fabs(std::cos(p.azimuth)) < kNear;
  lon0 = -std::asin(across ? std::copysign(1.0, g) : std::clamp(g, -1.0, 1.0)) / b;
  if (p.method == Method::kHotineCentre) centre = skew(p.lat, 0).east;
}

Plane Hotine::skew(double lat, double lon) const {
  const double q = h * std::exp(b * isometric(lat, e));
  const double s = (q - 1 / q) / 2, t = (q + 1 / q) / 2;
  const double turned = b * wrapped(lon - lon0);
  const double v = std::sin(turned);
  return {a / b * std::atan2(s * std::cos(gamma) + v * std::sin(gamma), std::cos(turned)),
          a / b * std::atanh((v * std::cos(gamma) - s * std::sin(gamma)) / t)};
}

Plane Hotine::operator()(double lat, double lon) const {
  const Plane at = skew(lat, lon);
  const double u = at.east - centre, v = at.north;
  return {v * std::cos(rectified) + u * std::sin(rectified),
          u * std::cos(rectified) - v * std::sin(rectified)};
}

ObliqueStereographic::ObliqueStereographic(const Projection& p, const Ellipsoid& ellipsoid)
    : e(eccentricity(ellipsoid)), shift(0) {
  const double e2 = ellipsoid.e2(), sine = std::sin(p.lat);
  n = std::sqrt(1 + e2 * sqr(sqr(std::cos(p.lat))) / (1 - e2));
  const double chi = conformal(p.lat);
  shift = std::log((n + sine) * (1 - std::sin(chi)) / ((n - sine) * (1 + std::sin(chi)))) / 2;
  chi0 = conformal(p.lat);
  factor = 2 * p.scale * ellipsoid.a * std::sqrt(1 - e2) / (1 - e2 * sqr(sine));
}

double ObliqueStereographic::conformal(double lat) const {
  return std::atan(std::sinh(n * isometric(lat, e) + shift));
}

Plane ObliqueStereographic::operator()(double lat, double lon) const {
  const double chi = conformal(lat), turned = n * lon;
  const double cosine = std::cos(chi) * std::cos(turned);
  const double height = 1 + std::sin(chi) * std::sin(chi0) + cosine * std::cos(chi0);
  if (height < kNear) return {kOutside, kOutside};  // the antipode
  return {factor * std::cos(chi) * std::sin(turned) / height,
          factor * (std::sin(chi) * std::cos(chi0) - cosine * std::sin(chi0)) / height};
}

PolarStereographic::PolarStereographic(const Projection& p, const Ellipsoid& ellipsoid)
    : e(eccentricity(ellipsoid)), pole(p.lat < 0 ? -1 : 1) {
  factor =
      p.method == Method::kPolarByParallel
          ? ellipsoid.a * parallelRadius(p.lat, e) * std::exp(pole * isometric(p.lat, e))
          : 2 * ellipsoid.a * p.scale / std::sqrt(std::pow(1 + e, 1 + e) * std::pow(1 - e, 1 - e));
}

Plane PolarStereographic::operator()(double lat, double lon) const {
  if (kPi / 2 + lat * pole < kNear) return {kOutside, kOutside};  // the other pole
  const double r = kPi / 2 - lat * pole < kNear ? 0 : factor * std::exp(-pole * isometric(lat, e));
  return {r * std::sin(lon), -pole * r * std::cos(lon)};
}

CassiniSoldner::CassiniSoldner(const Projection& p, const Ellipsoid& ellipsoid)
    : meridian(ellipsoid), a(ellipsoid.a), e2(ellipsoid.e2()), origin(meridian.arc(p.lat)) {}

Plane CassiniSoldner::operator()(double lat, double lon) const {
  if (kPi / 2 - std::fabs(lat) < kNear) return {0, meridian.arc(lat) - origin};
  const double along = lon * std::cos(lat), square = along * along;
  const double t = sqr(std::tan(lat)), c = e2 * sqr(std::cos(lat)) / (1 - e2);
  const double radius = a / std::sqrt(1 - e2 * sqr(std::sin(lat)));
  return {radius * along * (1 - square * t * (1.0 / 6 + (8 - t + 8 * c) * square / 120)),
          meridian.arc(lat) - origin +
              radius * std::tan(lat) * square * (0.5 + (5 - t + 6 * c) * square / 24)};
}

NewZealand::NewZealand(const Projection& p, const Ellipsoid& ellipsoid)
    : a(ellipsoid.a), lat0(p.lat) {}

Plane NewZealand::operator()(double lat, double lon) const {
  constexpr double kIsometric[] = {0.6399175073, -0.1358797613, 0.063294409, -0.02526853, 0.0117879,
                                   -0.0055161,   0.0026906,     -0.001333,   0.00067,     -0.00034};
  constexpr double kGrid[][2] = {{0.7557853228, 0},           {0.249204646, 0.003371507},
                                 {-0.001541739, 0.041058560}, {-0.10162907, 0.01727609},
                                 {-0.26623489, -0.36249218},  {-0.6870983, -1.1651967}};
  const double seconds = (lat - lat0) / kDegree * 3600 * 1e-5;  // in units of 100000
  double psi = 0;
  for (size_t i = std::size(kIsometric); i-- > 0;) psi = (psi + kIsometric[i]) * seconds;
  const std::complex<double> zeta(psi, lon);
  std::complex<double> z = 0;
  for (size_t i = std::size(kGrid); i-- > 0;) {
    z = (z + std::complex<double>(kGrid[i][0], kGrid[i][1])) * zeta;
  }
  return {a * z.imag(), a * z.real()};
}

}  // namespace projections

Projector::Formulas Projector::formulas(const Projection& p, const Ellipsoid& ellipsoid) {
  switch (p.method) {
    case Method::kTransverseMercator:
      return projections::TransverseMercator(p, ellipsoid);
    case Method::kLambertOneParallel:
    case Method::kLambertTwoParallels:
      return projections::Lambert(p, ellipsoid);
    case Method::kMercator:
      return projections::Mercator(p, ellipsoid);
    case Method::kHotineNatural:
    case Method::kHotineCentre:
      return projections::Hotine(p, ellipsoid);
    case Method::kObliqueStereographic:
      return projections::ObliqueStereographic(p, ellipsoid);
    case Method::kPolarByScale:
    case Method::kPolarByParallel:
      return projections::PolarStereographic(p, ellipsoid);
    case Method::kCassiniSoldner:
      return projections::CassiniSoldner(p, ellipsoid);
    case Method::kNewZealand:
      break;
  }
  return projections::NewZealand(p, ellipsoid);
}

std::optional<Projector> Projector::make(const Projection& p, const Ellipsoid& ellipsoid) {
  const Projector projector(p, formulas(p, ellipsoid));
  // What is no projection, such as a cone whose parallels lie on both sides of the equator alike,
  // cannot even project a point near its origin.
  const double near = p.lat - std::copysign(0.01, p.lat);
  if (!projector.forward(near, p.lon + 0.01)) return std::nullopt;
  return projector;
}

std::optional<Plane> Projector::forward(double lat, double lon) const {
  if (!(std::fabs(lat) <= kPi / 2 + kNear)) return std::nullopt;
  const double turned = wrapped(lon - projection_.lon);
  const Plane at = std::visit([&](const auto& formula) { return formula(lat, turned); }, formulas_);
  const Plane out{projection_.east + at.east, projection_.north + at.north};
  if (!std::isfinite(out.east) || !std::isfinite(out.north)) return std::nullopt;
  return out;
}

std::optional<double> azimuthOf(double gamma, double lat, const Ellipsoid& ellipsoid) {
  const double sine = hotineD(lat, ellipsoid.e2()) * std::sin(gamma);
  if (!(std::fabs(sine) <= 1 + kNear)) return std::nullopt;
  const double azimuth = std::asin(std::clamp(sine, -1.0, 1.0));
  return std::cos(gamma) < 0 ? kPi - azimuth : azimuth;
}

Geographic fromGeocentric(double x, double y, double z, const Ellipsoid& ellipsoid) {
  const double p = std::hypot(x, y), e2 = ellipsoid.e2(), b = ellipsoid.a * (1 - ellipsoid.f);
  // Bowring's start, then the fixed point of the latitude, which gains three digits a turn.
  const double u = std::atan2(z * ellipsoid.a, p * b);
  double lat = std::atan2(z + e2 / (1 - e2) * b * std::pow(std::sin(u), 3),
                          p - e2 * ellipsoid.a * std::pow(std::cos(u), 3));
  for (int turn = 0; turn < 4; ++turn) {
    const double radius = ellipsoid.a / std::sqrt(1 - e2 * sqr(std::sin(lat)));
    lat = std::atan2(z + e2 * radius * std::sin(lat), p);
  }
  const double height =
      p * std::cos(lat) + z * std::sin(lat) - ellipsoid.a * std::sqrt(1 - e2 * sqr(std::sin(lat)));
  return {lat, std::atan2(y, x), height};
}

}  // namespace tavo::survey
