// An inspection from the part to its indications, through the inspection library: inspectpart part.obj FOLDER
// The table of shots, which an instrument writes, is made up here: a back wall echo that is lost over a disc.

#include "Inspection/inspection.h"

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>

using namespace QELT::Inspection;

namespace {

constexpr double step = 0.5;
constexpr double flawRadiusSqr = 3.0 * 3.0;

void writeShots(std::filesystem::path const& path) {
    std::ofstream table(path);
    table << "ox[mm],oy[mm],oz[mm],dx,dy,dz,amp[%FSH]\n";
    for (double y = -14.0; y <= 14.0; y += step) {
        for (double x = -19.0; x <= 19.0; x += step) {
            bool const isOverFlaw = (x - 5.0) * (x - 5.0) + (y - 2.0) * (y - 2.0) < flawRadiusSqr;
            table << x << ',' << y << ",20,0,0,-1," << (isOverFlaw ? 10 : 80) << '\n';
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "inspectpart part.obj FOLDER\n";
        return 2;
    }
    std::filesystem::path const folder = argv[2];
    try {
        std::filesystem::create_directories(folder);
        PrepareOptions part;
        part.part = argv[1];
        part.grid = folder / "part.quads";
        part.resolution.pixel = step;
        part.unit = "mm";
        PrepareResult const prepared = prepare(part, nullptr);
        for (Shortcoming const& shortcoming : prepared.shortcomings) {
            std::cerr << shortcoming.what << ": " << shortcoming.remedy << '\n';
        }

        writeShots(folder / "shots.csv");
        DrawnMeasuredScanOptions measured;
        measured.scan.grids.push_back({part.grid});
        measured.scan.shots.shots = folder / "shots.csv";
        measured.scan.quantities.values.push_back(valueRequestIn("amp:max"));
        measured.scan.fill = step;
        measured.scan.result = folder / "scan.h5";
        measured.imagePrefix = (folder / "scan").string();
        DrawnMeasuredScan const scan = drawMeasuredScan(measured, nullptr);
        std::cout << scan.scan.figures.shotCount << " shots, " << scan.images.size() << " pictures\n";

        IndicationsOptions search;
        search.result = measured.scan.result;
        search.search.value = "amp";
        search.search.threshold = {true, 0.5};
        search.search.from = 80.0;
        search.search.isBelow = true;
        search.search.minArea = 1.0;
        search.table = folder / "indications.csv";
        for (Indication const& found : indications(search, nullptr).search.indications) {
            std::cout << "indication " << found.number << ": " << found.area << " mm2 at "
                      << found.centre.point.getdX() << ' ' << found.centre.point.getdY() << '\n';
        }
    } catch (std::exception const& failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
}
