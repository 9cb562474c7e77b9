// Where the things of a survey lie: positions as arrays in place, lines and areas as WKB, reference
// systems as WKT2.
#include <bit>

#include "module.h"

namespace tavo::python {

namespace {

static_assert(std::endian::native == std::endian::little);

// Keeps its survey alive, by the object that holds both.
struct Geometry {
  struct Free {
    void operator()(tavo_geometry* geometry) const { tavo_geometry_free(geometry); }
  };
  std::unique_ptr<tavo_geometry, Free> handle;
};

std::unique_ptr<Geometry> make(SurveyHandle& survey, bool ignoreTransformations,
                               uint32_t hotineOrigin) {
  auto made = std::make_unique<Geometry>();
  tavo_geometry_options options = TAVO_GEOMETRY_OPTIONS_INIT;
  options.ignore_transformations = ignoreTransformations ? 1 : 0;
  options.hotine_origin = hotineOrigin;
  const py::gil_scoped_release free;
  const std::lock_guard<std::mutex> alone(survey.busy);
  tavo_geometry* geometry = nullptr;
  check(tavo_geometry_create(&geometry, survey.survey.handle(), &options));
  made->handle.reset(geometry);
  return made;
}

py::list systemsOf(const Geometry& geometry) {
  py::list all;
  for (size_t i = 0; i < tavo_geometry_crs_count(geometry.handle.get()); ++i) {
    const tavo_crs& crs = *tavo_geometry_crs(geometry.handle.get(), i);
    const py::object set =
        crs.set == SIZE_MAX ? py::object(py::none()) : py::object(py::int_(crs.set_no));
    all.append(py::make_tuple(crs.coordinates, crs.heights, set, crs.zone, textOf(crs.name),
                              textOf(crs.wkt)));
  }
  return all;
}

py::array positionsOf(const py::object& self, uint32_t type) {
  size_t count = 0;
  const tavo_position* const positions =
      tavo_geometry_positions(self.cast<const Geometry&>().handle.get(), type, &count);
  return bytesOf(positions, count * sizeof(tavo_position), self);
}

py::array observationsOf(const py::object& self) {
  size_t count = 0;
  const tavo_observation* const observations =
      tavo_geometry_observations(self.cast<const Geometry&>().handle.get(), &count);
  return bytesOf(observations, count * sizeof(tavo_observation), self);
}

// Little-endian well-known binary with the types that carry a Z as 1000 more.
class Wkb {
 public:
  enum Type : uint32_t { kLine = 2, kPolygon = 3, kLines = 5, kPolygons = 6 };

  // A single line, or a collection of parts however many there are.
  Wkb(const tavo_shape& shape, bool single) : shape_(shape) {
    if (single) {
      head(kLine);
      run(0);
    } else if (shape.polygon_count > 0) {
      parts(kPolygons, kPolygon, shape.polygon_count, [this](size_t i) { polygon(i); });
    } else {
      parts(kLines, kLine, shape.run_count, [this](size_t i) { run(i); });
    }
  }
  const std::string& bytes() const { return bytes_; }

 private:
  template <class T>
  void put(T value) {
    bytes_.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
  void head(uint32_t type) {
    put(uint8_t{1});
    put(type + (shape_.dimension == 3 ? 1000U : 0U));
  }
  template <class Part>
  void parts(Type many, Type one, size_t count, Part part) {
    head(many);
    put(static_cast<uint32_t>(count));
    for (size_t i = 0; i < count; ++i) {
      head(one);
      part(i);
    }
  }
  void polygon(size_t i) {
    put(static_cast<uint32_t>(shape_.polygons[i + 1] - shape_.polygons[i]));
    for (size_t r = shape_.polygons[i]; r < shape_.polygons[i + 1]; ++r) run(r);
  }
  void run(size_t i) {
    put(static_cast<uint32_t>(shape_.runs[i + 1] - shape_.runs[i]));
    for (size_t v = shape_.runs[i]; v < shape_.runs[i + 1]; ++v) {
      bytes_.append(reinterpret_cast<const char*>(shape_.vertices + 3 * v),
                    shape_.dimension * sizeof(double));
    }
  }

  const tavo_shape& shape_;
  std::string bytes_;
};

// (owner, system, WKB) of each shape of a record type.
py::list shapesOf(const Geometry& geometry, uint32_t type, bool single) {
  py::list all;
  tavo_shape shape{};
  for (size_t i = 0; tavo_geometry_shape(geometry.handle.get(), type, i, &shape) == 1; ++i) {
    all.append(py::make_tuple(shape.owner, shape.crs, py::bytes(Wkb(shape, single).bytes())));
  }
  return all;
}

// (owner, system, area?, runs) of each shape, a run an array of x, y; to draw.
py::list runsOf(const Geometry& geometry, uint32_t type) {
  py::list all;
  tavo_shape shape{};
  for (size_t i = 0; tavo_geometry_shape(geometry.handle.get(), type, i, &shape) == 1; ++i) {
    py::list runs;
    for (size_t r = 0; r < shape.run_count; ++r) {
      const auto count = static_cast<py::ssize_t>(shape.runs[r + 1] - shape.runs[r]);
      const double* const first = shape.vertices + 3 * shape.runs[r];
      runs.append(py::array_t<double>({count, py::ssize_t{2}}, {24, 8}, first));
    }
    all.append(py::make_tuple(shape.owner, shape.crs, shape.polygon_count > 0, runs));
  }
  return all;
}

py::list geometryFindingsOf(const Geometry& geometry) {
  py::list all;
  const tavo_geometry_finding* finding = nullptr;
  for (size_t i = 0; (finding = tavo_geometry_finding_at(geometry.handle.get(), i)) != nullptr;
       ++i) {
    all.append(py::make_tuple(finding->kind, finding->record_type, finding->index, finding->line,
                              textOf(finding->text)));
  }
  return all;
}

}  // namespace

void addGeometry(py::module_& module) {
  py::class_<Geometry>(module, "Geometry")
      .def(py::init(&make), py::arg("survey"), py::arg("ignore_transformations"),
           py::arg("hotine_origin"), py::keep_alive<1, 2>())
      .def("systems", &systemsOf)
      .def(
          "positions",
          [](const py::object& self, uint32_t type) { return positionsOf(self, type); },
          py::arg("type"))
      .def("observations", [](const py::object& self) { return observationsOf(self); })
      .def("shapes", &shapesOf, py::arg("type"), py::arg("single"))
      .def("runs", &runsOf, py::arg("type"))
      .def("findings", &geometryFindingsOf);
}

}  // namespace tavo::python
