#include "Inspection/exports/exportresult.h"

#include "Inspection/exports/internal/writers.h"
#include "Inspection/pictures/internal/scale.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"
#include "Inspection/results/internal/inresult.h"
#include "Inspection/results/resultfile.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace QELT::Inspection {

namespace {

enum class Format { Vts, Vtm, Ply, Npz, Tiff };

Format formatOf(std::filesystem::path const& output) {
    std::string extension = output.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
    if (extension == ".vts") {
        return Format::Vts;
    }
    if (extension == ".vtm") {
        return Format::Vtm;
    }
    if (extension == ".ply") {
        return Format::Ply;
    }
    if (extension == ".npz") {
        return Format::Npz;
    }
    require(extension == ".tif" || extension == ".tiff",
            output.string() + ": results are exported to .vts, .vtm, .ply, .npz, .tif or .tiff");
    return Format::Tiff;
}

void requireLimits(ExportOptions const& options, Format format) {
    require(!options.limits || format == Format::Ply,
            options.output.string() + ": has no colours to set limits for; a .ply file has");
    require(!options.limits || (std::isfinite(options.limits->low) && std::isfinite(options.limits->high) &&
                                options.limits->low < options.limits->high),
            "the lower limit of the colours must lie below the upper one");
}

class Export {
public:
    Export(ExportOptions const& exportOptions, Format newFormat, Result const& shownResult)
        : options(exportOptions), format(newFormat), result(shownResult) {
        values = chosenValues();
        for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
            exported.quads += result.hasSurface(pixel) ? 1U : 0U;
        }
        for (ValueMap const* const map : values) {
            exported.values.push_back(map->name);
        }
        exported.files = files();
    }

    Exported const& get() const { return exported; }

    void write(Outputs& outputs) const {
        Destination const to = outputs.at(options.output);
        switch (format) {
        case Format::Vts:
            writeVts(to, result, 0, values);
            break;
        case Format::Vtm:
            writeVtm(to, result, {exported.files.begin() + 1, exported.files.end()});
            for (std::size_t i = 0; i < result.patches.size(); ++i) {
                writeVts(outputs.at(exported.files[i + 1]), result, i, values);
            }
            break;
        case Format::Ply:
            writePly(to, result, *values.front(), limitsOf(*values.front()));
            break;
        case Format::Npz:
            writeNpz(to, result, values);
            break;
        case Format::Tiff:
            writeTiff(to, result, values);
            break;
        }
    }

private:
    ExportOptions const& options;
    Format format;
    Result const& result;
    ValueMaps values{};
    Exported exported{};

    ValueMaps chosenValues() const {
        if (!options.value.empty()) {
            return {inResult(options.result, [&] { return &valueMapOf(result, options.value); })};
        }
        ValueMaps all;
        for (ValueMap const& map : result.values) {
            all.push_back(&map);
        }
        bool const needsValues = format == Format::Ply || format == Format::Tiff;
        require(!needsValues || !all.empty(), options.result.string() + ": holds no values to export");
        require(format != Format::Ply || all.size() == 1,
                options.output.string() + ": shows one value; say which of " + namesOf(all));
        return all;
    }

    static std::string namesOf(ValueMaps const& maps) {
        std::string names;
        for (ValueMap const* const map : maps) {
            names += (names.empty() ? "" : ", ") + map->name;
        }
        return names;
    }

    /// That of the user first, then the blocks of a .vtm file.
    std::vector<std::filesystem::path> files() const {
        std::size_t const count = result.patches.size();
        require(format != Format::Vts || count == 1, options.output.string() +
                                                         ": holds one grid, and the result has " +
                                                         std::to_string(count) + "; export to a .vtm file");
        std::vector<std::filesystem::path> all{options.output};
        for (std::size_t i = 0; format == Format::Vtm && i < count; ++i) {
            std::filesystem::path file = options.output;
            file.replace_filename(options.output.stem().string() + "_" + std::to_string(i) + ".vts");
            all.push_back(file);
        }
        return all;
    }

    ColourLimits limitsOf(ValueMap const& map) const {
        if (options.limits) {
            return *options.limits;
        }
        std::vector<double> numbers;
        for (double const value : map.values) {
            if (std::isfinite(value)) {
                numbers.push_back(value);
            }
        }
        Scale const scale = scaleFor(std::move(numbers), 0.0);
        return {scale.low, scale.high};
    }
};

} // namespace

Exported exportResult(ExportOptions const& options, ProgressListener* listener) {
    Format const format = formatOf(options.output);
    requireLimits(options, format);
    Record record("export");
    record.addInput(options.result);
    announce(listener, "Reading the result...");
    Result const result = readResult(options.result);
    checkpoint(listener);
    record.setUnit(result.unit);
    if (!options.value.empty()) {
        record.setting("value", options.value);
    }
    if (options.limits) {
        record.setting("limits", std::vector<double>{options.limits->low, options.limits->high});
    }
    Export const work(options, format, result);
    Outputs outputs(record);
    for (auto const& file : work.get().files) {
        outputs.add(file);
    }
    announce(listener, "Writing...");
    work.write(outputs);
    record.figure("quads", work.get().quads);
    outputs.commit(listener);
    return work.get();
}

} // namespace QELT::Inspection
