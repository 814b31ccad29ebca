#include "python/src/arrays.h"
#include "python/src/objects.h"

namespace QELT::Python {

namespace {

/// One number or a row of them for each pixel, as (height, width) or (height, width, perPixel): a view.
template <class T>
py::array pixelArray(py::object const& self, std::vector<T> Result::*member, py::ssize_t perPixel = 1) {
    auto const& result = self.cast<Result const&>();
    std::vector<py::ssize_t> shape{static_cast<py::ssize_t>(result.height),
                                   static_cast<py::ssize_t>(result.width)};
    if (perPixel > 1) {
        shape.push_back(perPixel);
    }
    return shownArray(py::dtype::of<T>(), shape, (result.*member).data(), self);
}

py::array valueArray(py::object const& self, std::string const& name) {
    auto const& result = self.cast<Result const&>();
    ValueMap const& map = valueMapOf(result, name);
    return shownArray(py::dtype::of<double>(),
                      {static_cast<py::ssize_t>(result.height), static_cast<py::ssize_t>(result.width)},
                      map.values.data(), self);
}

py::array stateArray(py::object const& self) {
    auto const& result = self.cast<Result const&>();
    return shownArray(py::dtype::of<std::uint8_t>(),
                      {static_cast<py::ssize_t>(result.height), static_cast<py::ssize_t>(result.width)},
                      result.states.data(), self);
}

void definePixels(py::class_<Result>& type) {
    type.def_property_readonly("states", &stateArray, "(height, width) uint8: numbers of `PIXEL_STATES`.");
    type.def_property_readonly(
        "counts", [](py::object const& self) { return pixelArray(self, &Result::counts); },
        "(height, width) uint32: shots that met the pixel and were not refused.");
    type.def_property_readonly(
        "refused", [](py::object const& self) { return pixelArray(self, &Result::refused); },
        "(height, width) uint32: shots that met it and were.");
    type.def_property_readonly(
        "areas", [](py::object const& self) { return pixelArray(self, &Result::areas); },
        "(height, width) float64: true area, in the square of the part's unit; 0 without surface.");
    type.def_property_readonly(
        "points", [](py::object const& self) { return pixelArray(self, &Result::points, 3); },
        "(height, width, 3) float32: centres, moved by `move`; NaN without surface.");
    type.def_property_readonly(
        "normals", [](py::object const& self) { return pixelArray(self, &Result::normals, 3); },
        "(height, width, 3) float32: outward, of unit length; NaN without surface.");
    type.def_property_readonly(
        "filled_from", [](py::object const& self) { return pixelArray(self, &Result::filledFrom); },
        "(height, width) uint32: the pixel whose values may be shown where no shot met, or 2^32 - 1.");
}

void bindResult(py::module_& module) {
    py::class_<Result> type(module, "Result", plainType(),
                            "A C-scan of measured data. Arrays of pixels are views, row by row from v = 0.");
    type.def_readonly("width", &Result::width, "Pixels along u.");
    type.def_readonly("height", &Result::height, "Pixels along v.");
    definePixels(type);
    type.def_property_readonly(
        "values", [](py::object const& self) { return toPython(self.cast<Result const&>().values, self); },
        "The maps of values.");
    type.def("value", &valueArray, py::arg("name"),
             "(height, width) float64: the map of this name or quantity, NaN where there is none.");
    type.def_readonly("unit", &Result::unit, "Of lengths; empty if it is not known.");
    type.def_property_readonly(
        "move", [](Result const& result) { return toPython(result.move, {}); },
        "What the part was moved by: a place in the part is a point less this.");
    type.def_readonly("record", &Result::record, "How it was made, as JSON.");
}

void bindDistribution(py::module_& module) {
    py::class_<Distribution> type(module, "Distribution", plainType(), "How numbers are spread.");
    type.def_property_readonly("count", &Distribution::getCount, "Of numbers.");
    type.def_property_readonly("median", &Distribution::median, "To within 0.05 %.");
    type.def_property_readonly("least", &Distribution::least, "Exactly.");
    type.def_property_readonly("greatest", &Distribution::greatest, "Exactly.");
    type.def("quantile", &Distribution::quantile, py::arg("share"),
             "The number below which a share of all lies, 0 to 1.");
}

template <class T, class Read>
py::array cellsOf(QuadMap const& map, Read read) {
    py::array_t<T> array({map.getHeight(), map.getWidth()});
    T* place = array.mutable_data();
    for (std::size_t v = 0; v < map.getHeight(); ++v) {
        for (std::size_t u = 0; u < map.getWidth(); ++u) {
            *place++ = read(map.at(u, v));
        }
    }
    return array;
}

void bindQuadMap(py::module_& module) {
    py::class_<QuadMap> type(module, "QuadMap", plainType(),
                             "What is known of each quad of a grid or a scan plane.");
    type.def_property_readonly(
        "surface",
        [](QuadMap const& map) {
            return cellsOf<bool>(map, [](Cell const& cell) { return cell.kind != Cell::NoSurface; });
        },
        "A copy: (v, u) bool, whether there is a quad.");
    type.def_property_readonly(
        "values",
        [](QuadMap const& map) {
            return cellsOf<double>(map, [](Cell const& cell) {
                return cell.kind == Cell::Measured ? cell.value : std::numeric_limits<double>::quiet_NaN();
            });
        },
        "A copy: (v, u) float64, NaN where nothing was measured.");
}

py::array pixelsOfImage(Image const& image) {
    static_assert(sizeof(Colour) == 3);
    py::array_t<std::uint8_t> array({image.getHeight(), image.getWidth(), 3});
    auto const rowBytes = 3 * static_cast<std::size_t>(image.getWidth());
    for (int y = 0; y < image.getHeight(); ++y) {
        std::memcpy(array.mutable_data(y), image.getRow(y), rowBytes);
    }
    return array;
}

py::object searchResult(Result const& result, py::kwargs const& given) {
    IndicationOptions options;
    fillFields(&options, Description<IndicationOptions>::fields(), given, "search_indications()");
    return handOver(
        runLong(py::none(), {}, [&](ProgressListener*) { return searchIndications(result, options); }));
}

py::array pictureOfValue(Result const& result, std::string const& value, py::kwargs const& given) {
    ValuePictureOptions options;
    fillFields(&options, Description<ValuePictureOptions>::fields(), given, "value_picture()");
    return pixelsOfImage(runLong(py::none(), {}, [&](ProgressListener*) {
        return valuePicture(result, valueMapOf(result, value), options);
    }));
}

py::object loadResult(py::object const& file) {
    auto const path = pathFrom(file, "path");
    return py::cast(runFileWork(py::none(), {}, [&](ProgressListener*) { return readResult(path); }));
}

void saveResult(py::object const& file, Result const& result) {
    auto const path = pathFrom(file, "path");
    runFileWork(py::none(), {}, [&](ProgressListener*) { writeResult(path, result); });
}

void defineResultFunctions(py::module_& module) {
    module.def("read_result", &loadResult, py::arg("path"), "Reads the HDF5 file of a result.");
    module.def("write_result", &saveResult, py::arg("path"), py::arg("result"),
               "Writes a result as HDF5; the same result is the same bytes.");
    module.def(
        "read_shots",
        [](py::object const& file) {
            auto const path = pathFrom(file, "path");
            return handOver(runFileWork(py::none(), {}, [&](ProgressListener*) { return readShots(path); }));
        },
        py::arg("path"), "The shots that a result was kept with.");
    module.def(
        "coverage_of",
        [](Result const& result, std::optional<double> requiredGap) {
            return handOver(
                runLong(py::none(), {}, [&](ProgressListener*) { return coverageOf(result, requiredGap); }));
        },
        py::arg("result"), py::arg("required_gap") = py::none(),
        "How much of the surface was reached, in true areas.");
    module.def("search_indications", &searchResult, py::arg("result"),
               "The indications of a result, by the options of `IndicationOptions`.");
    module.def("value_picture", &pictureOfValue, py::arg("result"), py::arg("value"),
               "The picture of a value, (height, width, 3) uint8, by the options of `ValuePictureOptions`.");
    module.def(
        "state_picture", [](Result const& result) { return pixelsOfImage(statePicture(result)); },
        py::arg("result"), "The picture of the pixels' states, (height, width, 3) uint8.");
    module.def(
        "result_info_of",
        [](py::object const& file, py::object const& progress) {
            auto const path = pathFrom(file, "path");
            return handOver(runFileWork(
                progress, {}, [&](ProgressListener* listener) { return resultInfoOf(path, listener); }));
        },
        py::arg("path"), py::kw_only(), py::arg("progress") = py::none(),
        "What the file of a result holds, and whether its record fits.");
}

} // namespace

void bindResults(py::module_& module) {
    bindDistribution(module);
    bindQuadMap(module);
    bindResult(module);
    defineResultFunctions(module);
}

} // namespace QELT::Python
