#include "Inspection/pages/view.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/import/part.h"
#include "Inspection/pages/internal/gridresult.h"
#include "Inspection/pages/internal/overlays.h"
#include "Inspection/pages/internal/pagebundle.h"
#include "Inspection/pages/internal/pagetext.h"
#include "Inspection/parts/partanalysis.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/version.h"
#include "Inspection/results/resultfile.h"

#include <cmath>
#include <fstream>

namespace QELT::Inspection {

namespace {

using Json = nlohmann::ordered_json;

PageModel modelOfResult(ViewOptions const& options) {
    Result const result = readResult(options.input);
    PageModel model = modelOf(result, ViewedKind::OfResult, options.precision);
    require(model.view.quadCount > 0, options.input.string() + ": holds no pixel with surface to be seen");
    model.json["record"] = result.record;
    return model;
}

PageModel modelOfGrid(ViewOptions const& options, Record const& record) {
    Grid grid;
    loadGrid(grid, options.input);
    Result result = shapeOf(grid, options.input.filename().string(), record.getUnit().value_or(""));
    Vector const move = record.getMove();
    result.move = {move.getdX(), move.getdY(), move.getdZ()};
    PageModel model = modelOf(result, ViewedKind::OfGrid, options.precision);
    require(model.view.quadCount > 0, options.input.string() + ": holds no quad to be seen");
    return model;
}

PageModel modelOfPart(ViewOptions const& options, Record const& record) {
    LoadOptions loading;
    loading.movesFarParts = true;
    PartAsLoaded const part = loadPart({options.input, options.frame}, loading);
    require(part.isMesh(),
            options.input.string() +
                ": is a cloud of points without a surface; build one with 'cscan reconstruct' or "
                "make a grid with 'cscan prepare'");
    PageModel model = modelOf(part, options.precision);
    Vector const move = record.getMove();
    model.json["move"] = {move.getdX() - part.report.offset[0], move.getdY() - part.report.offset[1],
                          move.getdZ() - part.report.offset[2]};
    if (record.getUnit()) {
        model.json["unit"] = *record.getUnit();
    }
    return model;
}

/// What the input's record says of how it was made.
Json originOf(ViewOptions const& options, ProgressListener* listener) {
    Json lines = Json::array();
    auto const found = findRecord(options.input, listener);
    if (found) {
        for (auto const& [name, text] : found->lines) {
            lines.push_back({name, text});
        }
        for (std::string const& misfit : found->misfits) {
            lines.push_back({"does not fit", misfit});
        }
    }
    return lines;
}

void addOverlays(PageModel& model, ViewOptions const& options) {
    if (options.indications) {
        addIndications(model, *options.indications);
    }
    if (options.shots) {
        addShots(model, *options.shots);
    }
    if (options.path) {
        addPath(model, *options.path,
                options.frame ? std::optional(readFrame(*options.frame)) : std::nullopt);
    }
    if (options.beam) {
        model.json["beam"] = *options.beam;
    }
}

void addInputs(Record& record, ViewOptions const& options) {
    bool const isPart = !isResultFile(options.input) && !isGridFile(options.input);
    require(!options.frame || isPart || options.path,
            "view: a frame goes with a part or with a path; " + options.input.string() + " is neither");
    addPart(record, {options.input, isPart ? options.frame : std::nullopt});
    if (options.frame && !isPart) {
        addFrame(record, *options.frame);
    }
    for (auto const& table : {options.indications, options.shots, options.path}) {
        if (table) {
            record.addCompanion(*table);
        }
    }
    record.setting("beam", options.beam);
    record.setting("precision", options.precision == PagePrecision::Float32 ? "float32" : "16");
}

void addFigures(Record& record, View const& view) {
    record.figure(view.kind == ViewedKind::OfPart ? "triangles" : "quads", view.quadCount);
    record.figure("values", view.valueCount);
    record.figure("indications", view.indicationCount);
    record.figure("placeError", view.placeError);
    if (view.normalError) {
        record.figure("normalError", *view.normalError);
    }
    if (view.valueError) {
        record.figure("valueError", *view.valueError);
    }
}

void write(Destination const& to, std::string const& page) {
    std::ofstream output(to.file, std::ios::binary | std::ios::trunc);
    output.write(page.data(), static_cast<std::streamsize>(page.size()));
    output.close();
    require(output.good(), to.name.string() + ": could not be written to its end");
}

PageModel modelOfInput(ViewOptions const& options, Record const& record) {
    return isResultFile(options.input) ? modelOfResult(options)
           : isGridFile(options.input) ? modelOfGrid(options, record)
                                       : modelOfPart(options, record);
}

} // namespace

bool hasPage() {
    return !pageBundle().empty();
}

View view(ViewOptions const& options, ProgressListener* listener) {
    require(hasPage(),
            "view: this program was built without the page; install nodejs and npm, configure with "
            "-DQELT_WITH_PAGE=ON and build again, or hand in a page with -DQELT_PAGE_BUNDLE=PAGE.html");
    require(!options.beam || *options.beam > 0.0, "view: the beam has no diameter");
    Record record("view");
    addInputs(record, options);
    Outputs outputs(record);
    outputs.add(options.output);
    announce(listener, "Reading...");
    PageModel model = modelOfInput(options, record);
    addOverlays(model, options);
    std::string const title = options.input.filename().string();
    model.json["title"] = title;
    model.json["program"] = "cscan " + libraryVersion();
    model.json["origin"] = originOf(options, listener);
    announce(listener, "Writing the page...");
    std::string const page = pageOf(pageBundle(), title, model);
    write(outputs.at(options.output), page);
    model.view.byteCount = page.size();
    addFigures(record, model.view);
    outputs.commit(listener);
    return model.view;
}

} // namespace QELT::Inspection
