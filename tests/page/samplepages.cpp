// Writes pages for the test in a browser: samplepages DIRECTORY [QUADS]. With a number of quads, one large
// page instead.

#include "Inspection/pages/internal/overlays.h"
#include "Inspection/pages/internal/pagebundle.h"
#include "Inspection/pages/internal/pagetext.h"
#include "tests/inspection/pages/sampleresult.h"
#include "tests/inspection/sampleparts.h"

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>

using namespace QELT::Inspection;
using namespace QELT::Inspection::Testing;

namespace {

/// A name that would end an element and begin another, were it not escaped.
char const* const wickedName = "sheet </script><b id=\"broken\">&amp;";

void write(std::filesystem::path const& path, std::string const& text) {
    std::ofstream(path, std::ios::binary) << text;
}

void writePage(std::filesystem::path const& path, PageModel& model, std::string const& title) {
    model.json["title"] = title;
    model.json["program"] = "samplepages";
    write(path, pageOf(pageBundle(), title, model));
}

void writeMeasured(std::filesystem::path const& folder) {
    auto const table = folder / "indications.csv";
    write(table, "number,state,peak,u,v,x,y,z,nx,ny,nz,length,width,area,outline\n"
                 "1,no echo,,60,50,,,,,,,8.1,7.9,50.1,\n"
                 "2,echo,21.4,60,120,,,,,,,10,9.8,78.4,\n"
                 "3,echo,19.9,140,60,,,,,,,7,6.9,38.2,133 53 147 53 147 67 133 67\n");
    auto const shots = folder / "shots.csv";
    std::ofstream shotLines(shots);
    shotLines << "u,v,x,y,z,distance,angle,valid,state\n";
    Result const result = measuredSheet();
    for (std::size_t pixel = 0; pixel < result.size(); pixel += 97) {
        if (result.isReached(pixel)) {
            float const* const point = &result.points[3 * pixel];
            shotLines << pixel % result.width << ',' << pixel / result.width << ',' << point[0] << ','
                      << point[1] << ',' << point[2] << ",20,3.1,1,hit\n";
        }
    }
    shotLines.close();
    PageModel model = modelOf(result, ViewedKind::OfResult, PagePrecision::Steps16);
    addIndications(model, table);
    addShots(model, shots);
    model.json["beam"] = 3.0;
    model.json["record"] = result.record;
    writePage(folder / "measured.html", model, wickedName);
}

void writePart(std::filesystem::path const& folder) {
    write(folder / "patch.obj", patchMesh());
    PageModel model = modelOf(loadPart(folder / "patch.obj"), PagePrecision::Steps16);
    model.json["move"] = {0.0, 0.0, 0.0};
    writePage(folder / "part.html", model, "patch.obj");
}

void writeLarge(std::filesystem::path const& folder, std::size_t quads) {
    auto const side = static_cast<std::size_t>(std::sqrt(static_cast<double>(quads)));
    Result result = sheet(side, side, 0.2);
    addSmoothValues(result);
    PageModel model = modelOf(result, ViewedKind::OfResult, PagePrecision::Steps16);
    writePage(folder / "large.html", model, "large");
}

} // namespace

int main(int argumentCount, char** arguments) {
    try {
        std::filesystem::path const folder(argumentCount > 1 ? arguments[1] : ".");
        std::filesystem::create_directories(folder);
        if (argumentCount > 2) {
            writeLarge(folder, std::stoul(arguments[2]));
        } else {
            writeMeasured(folder);
            writePart(folder);
        }
    } catch (std::exception const& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
