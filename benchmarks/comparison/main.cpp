// Tasks of this library beside other libraries, at growing sizes, and a page of what came of it.
//
//     comparison_benchmark [--short] --template PAGE --out PAGE [--results FILE] [--only TABLE]... [--draw]
//         [--note TEXT]
//
// With --short each task is done once at its smallest size: whether all that works, not how fast. With
// --results a run that was ended goes on where it stood, and with --draw nothing more is measured. Ends with
// 1 if any answers differed or anything failed.

#include "benchmarks/comparison/contest.h"
#include "benchmarks/comparison/measuring.h"
#include "benchmarks/comparison/page.h"
#include "benchmarks/comparison/process.h"
#include "benchmarks/comparison/resultfile.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace {

using namespace Comparison;

constexpr std::size_t wholeSide = 1000;
constexpr std::size_t shortWholeSide = 60;

struct Options {
    bool isShort = false;
    bool isDrawnOnly = false;
    std::string page;
    std::string out;
    std::string results;
    std::string note;
    std::vector<std::string> only; ///< tables to measure; none for all
};

Options optionsOf(std::vector<std::string> const& arguments) {
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string const& name = arguments[i];
        auto const value = [&] {
            if (i + 1 >= arguments.size()) {
                throw std::runtime_error(name + " needs a value");
            }
            return arguments[++i];
        };
        if (name == "--short") {
            options.isShort = true;
        } else if (name == "--draw") {
            options.isDrawnOnly = true;
        } else if (name == "--template") {
            options.page = value();
        } else if (name == "--out") {
            options.out = value();
        } else if (name == "--results") {
            options.results = value();
        } else if (name == "--note") {
            options.note = value();
        } else if (name == "--only") {
            options.only.push_back(value());
        } else {
            throw std::runtime_error("unknown option " + name);
        }
    }
    return options;
}

std::string firstLineWith(char const* path, std::string const& name) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(name)) {
            std::size_t const begin = line.find_first_not_of(" \t", line.find(':') + 1);
            return begin == std::string::npos ? "" : line.substr(begin);
        }
    }
    return "unknown";
}

std::string loadAverage() {
    std::array<double, 1> average{};
    getloadavg(average.data(), 1);
    std::ostringstream text;
    text.precision(2);
    text << average[0];
    return text.str();
}

std::string machineText(std::string const& loadBefore, std::string const& note) {
    std::ostringstream text;
    double const gigabytes =
        1024.0 * std::strtod(firstLineWith("/proc/meminfo", "MemTotal").c_str(), nullptr) / 1e9;
    text << "- Machine: " << firstLineWith("/proc/cpuinfo", "model name") << ", "
         << std::thread::hardware_concurrency() << " cores, " << shownCount(gigabytes)
         << " GB of memory; one thread used.\n"
         << "- Load average (of a minute): " << loadBefore << " at the beginning of the run, "
         << loadAverage() << " at its end. Anything above 1 is others' work."
         << (note.empty() ? "" : " " + note) << "\n"
         << "- Compiler: " << QELT_COMPILER << ", release build.\n- Peers: ";
    auto const versions = peerVersions();
    for (std::size_t i = 0; i < versions.size(); ++i) {
        text << (i == 0 ? "" : ", ") << versions[i];
    }
    text << ".\n";
    return text.str();
}

std::vector<Row> allRows() {
    std::vector<Row> rows;
    for (auto const make :
         {solvingRows, loadingRows, reconstructionRows, beamRows, gridRows, nearestRows, fitRows}) {
        auto const more = make();
        rows.insert(rows.end(), more.begin(), more.end());
    }
    return rows;
}

class Run {
public:
    explicit Run(Options const& newOptions) : options(newOptions), kept(newOptions.results) {
        if (options.isShort) {
            effort = {3, 3, 0.0, 30.0, true};
        }
    }

    std::map<std::string, std::string> measureAll() {
        std::map<std::string, std::vector<MeasuredRow>> tables;
        for (Row const& row : allRows()) {
            if (isWanted(row.table)) {
                tables[row.table].push_back({row, measureSizes(row)});
            }
        }
        std::map<std::string, std::string> texts;
        for (auto const& [name, rows] : tables) {
            texts["table " + name] = tableOf(rows);
        }
        if (isWanted("whole")) {
            texts["table whole"] = tableOf(measureWholeWay());
        }
        return texts;
    }

    bool hasFailed() const { return isFailed; }

private:
    bool isWanted(std::string const& table) const {
        return options.only.empty() ||
               std::find(options.only.begin(), options.only.end(), table) != options.only.end();
    }

    std::vector<Measurement> measureSizes(Row const& row) {
        std::vector<Measurement> sizes;
        for (Size const& size : row.sizes) {
            std::optional<Measurement> const known = kept.find(row, size.count);
            if (!known && options.isDrawnOnly) {
                continue;
            }
            effort.takesMemory = options.isShort || &size == &row.sizes.back();
            Measurement const result = known ? *known : measure(size, effort);
            if (!known) {
                kept.add(row, result);
            }
            tell(row, result);
            isFailed = isFailed || !result.failure.empty();
            sizes.push_back(result);
            if (options.isShort) {
                break;
            }
        }
        return sizes;
    }

    static void tell(Row const& row, Measurement const& result) {
        std::cout << row.table << ": " << row.task << ", " << row.peer << ", " << shownCount(result.count)
                  << ' ' << row.unit << ": ";
        if (!result.failure.empty()) {
            std::cout << "FAILED, " << result.failure << std::endl;
            return;
        }
        std::cout << shownSeconds(result.ours);
        if (result.hasPeer) {
            std::cout << " / " << shownSeconds(result.peer) << ", ratio " << result.ratio.middle << " of "
                      << result.pairs << " pairs";
        }
        std::cout << std::endl;
    }

    std::vector<Stage> measureWholeWay() {
        std::size_t const side = options.isShort ? shortWholeSide : wholeSide;
        std::vector<Stage> stages = kept.findStages(side);
        if (stages.empty() && !options.isDrawnOnly) {
            ChildReport const report = runInChild([&] { return textOf(wholeWay(side)); });
            if (!report.failure.empty()) {
                isFailed = true;
                std::cout << "whole: FAILED, " << report.failure << std::endl;
                return {{"**" + report.failure + "**", "", 0.0, 0.0}};
            }
            stages = stagesIn(report.text);
            kept.add(side, stages);
        }
        for (Stage const& stage : stages) {
            std::cout << "whole: " << stage.name << ": " << shownSeconds(stage.seconds) << ", "
                      << shownBytes(stage.peakBytes) << ", " << stage.result << std::endl;
        }
        return stages;
    }

    Options options;
    ResultFile kept;
    Effort effort;
    bool isFailed = false;
};

std::string readFile(std::string const& path) {
    std::ifstream file(path);
    if (!file) {
        throw std::runtime_error(path + ": cannot be read");
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeFile(std::string const& path, std::string const& text) {
    std::ofstream file(path);
    file << text;
    if (!file.flush()) {
        throw std::runtime_error(path + ": cannot be written");
    }
}

int compareAll(Options const& options) {
    std::string const page = options.page.empty() ? "" : readFile(options.page);
    std::string const loadBefore = loadAverage();
    Run run(options);
    auto texts = run.measureAll();
    texts["machine"] = machineText(loadBefore, options.note);
    texts["kind of run"] =
        options.isShort ? "This is a short run, at the smallest sizes: its times say nothing." : "";
    if (!options.out.empty()) {
        writeFile(options.out, filledIn(page, texts));
    }
    return run.hasFailed() ? EXIT_FAILURE : EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return compareAll(optionsOf({argv + 1, argv + argc}));
    } catch (std::exception const& failure) {
        std::cerr << failure.what() << '\n';
        return EXIT_FAILURE;
    }
}
