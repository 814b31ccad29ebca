#include "tests/support/meshfamilies.h"

#include "tests/support/randomindex.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <numbers>
#include <numeric>
#include <random>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace QELT::Testing {

namespace {

using Generator = std::mt19937;
using PointOf = std::function<std::array<double, 3>(double, double)>;

double signedUnit(Generator& generator) {
    return static_cast<double>(generator()) / 2147483647.5 - 1.0;
}

template <class T>
void shuffle(std::vector<T>& values, Generator& generator) {
    for (std::size_t i = values.size(); i > 1; --i) {
        std::swap(values[i - 1], values[randomBelow(generator, i)]);
    }
}

/// Squares over the unit square of parameters, placed by `pointOf`.
Soup makeParametricPatch(std::uint32_t columns, std::uint32_t rows, PointOf const& pointOf) {
    Soup soup;
    for (std::uint32_t j = 0; j <= rows; ++j) {
        for (std::uint32_t i = 0; i <= columns; ++i) {
            soup.points.push_back(pointOf(static_cast<double>(i) / columns, static_cast<double>(j) / rows));
        }
    }
    std::uint32_t const stride = columns + 1;
    for (std::uint32_t j = 0; j < rows; ++j) {
        for (std::uint32_t i = 0; i < columns; ++i) {
            std::uint32_t const corner = j * stride + i;
            soup.faces.push_back({corner, corner + 1, corner + stride + 1});
            soup.faces.push_back({corner, corner + stride + 1, corner + stride});
        }
    }
    return soup;
}

/// An apex and rings around it, over radii from 0 to 1 and angles from 0 to 2 pi.
Soup makePolarPatch(std::uint32_t rings, std::uint32_t segments, PointOf const& pointOf) {
    Soup soup;
    soup.points.push_back(pointOf(0.0, 0.0));
    for (std::uint32_t ring = 1; ring <= rings; ++ring) {
        for (std::uint32_t segment = 0; segment < segments; ++segment) {
            soup.points.push_back(
                pointOf(static_cast<double>(ring) / rings, 2.0 * std::numbers::pi * segment / segments));
        }
    }
    for (std::uint32_t segment = 0; segment < segments; ++segment) {
        std::uint32_t const next = (segment + 1) % segments;
        soup.faces.push_back({0, 1 + segment, 1 + next});
        for (std::uint32_t ring = 1; ring < rings; ++ring) {
            std::uint32_t const inner = 1 + (ring - 1) * segments;
            std::uint32_t const outer = inner + segments;
            soup.faces.push_back({inner + segment, outer + segment, outer + next});
            soup.faces.push_back({inner + segment, outer + next, inner + next});
        }
    }
    return soup;
}

/// Takes the squares (two faces each, row by row) out that `isHole` names by column and row.
Soup withoutSquares(Soup const& patch, std::uint32_t columns,
                    std::function<bool(std::uint32_t, std::uint32_t)> const& isHole) {
    Soup soup{patch.points, {}};
    for (std::size_t face = 0; face < patch.faces.size(); ++face) {
        auto const square = static_cast<std::uint32_t>(face / 2);
        if (!isHole(square % columns, square / columns)) {
            soup.faces.push_back(patch.faces[face]);
        }
    }
    return withoutUnusedVertices(soup);
}

/// The closed surface with every face split in four and its new vertices put on the sphere.
Soup subdivided(Soup const& coarse, double radius) {
    Soup fine{coarse.points, {}};
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::uint32_t> middles;
    auto const middle = [&](std::uint32_t a, std::uint32_t b) {
        auto const [place, isNew] =
            middles.try_emplace(std::minmax(a, b), static_cast<std::uint32_t>(fine.points.size()));
        if (isNew) {
            std::array<double, 3> point{};
            for (std::size_t axis = 0; axis < 3; ++axis) {
                point[axis] = fine.points[a][axis] + fine.points[b][axis];
            }
            double const length = std::hypot(point[0], point[1], point[2]);
            for (double& coordinate : point) {
                coordinate *= radius / length;
            }
            fine.points.push_back(point);
        }
        return place->second;
    };
    for (auto const& [a, b, c] : coarse.faces) {
        std::uint32_t const ab = middle(a, b);
        std::uint32_t const bc = middle(b, c);
        std::uint32_t const ca = middle(c, a);
        fine.faces.insert(fine.faces.end(), {{a, ab, ca}, {ab, b, bc}, {ca, bc, c}, {ab, bc, ca}});
    }
    return fine;
}

/// The shortest text that gives the same number back, whatever the locale.
std::string shortest(double value) {
    std::array<char, 64> buffer{};
    auto const result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    return std::string(buffer.data(), result.ptr);
}

} // namespace

Soup makeGridPatch(std::uint32_t columns, std::uint32_t rows, double width, double height) {
    return makeParametricPatch(columns, rows, [=](double s, double t) {
        return std::array<double, 3>{s * width, t * height, 0.0};
    });
}

Soup makeWavyPatch(std::uint32_t columns, std::uint32_t rows, double waveHeight) {
    return makeParametricPatch(columns, rows, [=](double s, double t) {
        return std::array<double, 3>{s, t, waveHeight * std::sin(3.0 * s + 0.4) * std::cos(2.0 * t - 0.3)};
    });
}

Soup makeQuarterCylinder(std::uint32_t columns, std::uint32_t rows, double radius, double height) {
    return makeParametricPatch(columns, rows, [=](double s, double t) {
        double const angle = s * std::numbers::pi / 2.0;
        return std::array<double, 3>{radius * std::cos(angle), radius * std::sin(angle), t * height};
    });
}

Soup makeTetrahedron() {
    return Soup{{{1.0, 1.0, 1.0}, {1.0, -1.0, -1.0}, {-1.0, 1.0, -1.0}, {-1.0, -1.0, 1.0}},
                {{0, 1, 2}, {0, 2, 3}, {0, 3, 1}, {1, 3, 2}}};
}

Soup makeSphere(std::uint32_t subdivisions, double radius) {
    Soup soup{{{radius, 0.0, 0.0},
               {-radius, 0.0, 0.0},
               {0.0, radius, 0.0},
               {0.0, -radius, 0.0},
               {0.0, 0.0, radius},
               {0.0, 0.0, -radius}},
              {{0, 2, 4}, {2, 1, 4}, {1, 3, 4}, {3, 0, 4}, {2, 0, 5}, {1, 2, 5}, {3, 1, 5}, {0, 3, 5}}};
    for (std::uint32_t i = 0; i < subdivisions; ++i) {
        soup = subdivided(soup, radius);
    }
    return soup;
}

Soup makeCap(std::uint32_t rings, std::uint32_t segments, double radius, double openingAngle) {
    return makePolarPatch(rings, segments, [=](double r, double angle) {
        double const polar = r * openingAngle;
        return std::array<double, 3>{radius * std::sin(polar) * std::cos(angle),
                                     radius * std::sin(polar) * std::sin(angle), radius * std::cos(polar)};
    });
}

Soup makeDisc(std::uint32_t rings, std::uint32_t segments, double radius) {
    return makePolarPatch(rings, segments, [=](double r, double angle) {
        return std::array<double, 3>{radius * r * std::cos(angle), radius * r * std::sin(angle), 0.0};
    });
}

Soup makePatchWithHole(std::uint32_t n) {
    return withoutSquares(makeWavyPatch(n, n), n, [=](std::uint32_t column, std::uint32_t row) {
        std::uint32_t const low = n / 3;
        std::uint32_t const high = n - 1 - n / 3;
        return low <= column && column <= high && low <= row && row <= high;
    });
}

Soup makePatchWithManyHoles(std::uint32_t n) {
    return withoutSquares(makeWavyPatch(n, n), n, [=](std::uint32_t column, std::uint32_t row) {
        return column % 3 == 1 && row % 3 == 1 && column + 1 < n && row + 1 < n;
    });
}

Soup makeTube(std::uint32_t segments, std::uint32_t rings, double radius, double height) {
    Soup tube = makeParametricPatch(segments, rings, [=](double s, double t) {
        double const angle = 2.0 * std::numbers::pi * s;
        return std::array<double, 3>{radius * std::cos(angle), radius * std::sin(angle), t * height};
    });
    for (auto& face : tube.faces) {
        for (std::uint32_t& index : face) {
            bool const isSeam = index % (segments + 1) == segments;
            index = isSeam ? index - segments : index;
        }
    }
    return withoutUnusedVertices(tube);
}

Soup makeStrip(std::uint32_t length) {
    return makeGridPatch(length, 1, length, 1.0);
}

Soup makeSliverPatch(std::uint32_t columns, std::uint32_t rows, double aspect) {
    return makeParametricPatch(columns, rows, [=](double s, double t) {
        return std::array<double, 3>{s * columns, t * rows / aspect, 0.05 * s * s};
    });
}

Soup makePatchWithZeroAreaFaces(std::uint32_t n) {
    Soup soup = makeWavyPatch(n, n);
    std::size_t const row = static_cast<std::size_t>(n / 2) * (n + 1);
    for (std::size_t i = 0; i <= n; ++i) {
        soup.points[row + i] = soup.points[row - (n + 1) + i];
    }
    return soup;
}

Soup makeTwoComponents() {
    return joined(makeWavyPatch(3, 3), translated(makeWavyPatch(2, 4), 5.0, 0.0, 0.0));
}

Soup makeBowTie() {
    return Soup{{{0, 0, 0}, {1, 0, 0}, {1, 1, 0.1}, {-1, 0, 0}, {-1, -1, 0.1}}, {{0, 1, 2}, {0, 3, 4}}};
}

Soup makeSurfaceMeetingItself(std::uint32_t unused) {
    Soup soup;
    for (std::uint32_t v = 0; v < unused + 7; ++v) {
        soup.points.push_back({v * 37.0, v * 59 % 103 * 1.0, v * 83 % 107 * 1.0});
    }
    for (auto const& [a, b, c] : {std::array{0U, 1U, 2U},
                                  {5U, 0U, 3U},
                                  {1U, 0U, 5U},
                                  {3U, 4U, 6U},
                                  {3U, 6U, 1U},
                                  {2U, 4U, 3U},
                                  {0U, 2U, 6U},
                                  {2U, 1U, 4U}}) {
        soup.faces.push_back({unused + a, unused + b, unused + c});
    }
    return soup;
}

Soup makePatchMeetingItself() {
    constexpr std::uint32_t n = 12;
    Soup soup = makeWavyPatch(n, n);
    auto const bent = soup.faces[2 * (9 * n + 6)];
    // Apart in the second column: a file's surface grows column by column, and comes there first.
    std::array<std::uint32_t, 3> const met{2 * (n + 1) + 2, 6 * (n + 1) + 2, 10 * (n + 1) + 2};
    for (auto& face : soup.faces) {
        for (std::uint32_t& v : face) {
            auto const place = std::find(bent.begin(), bent.end(), v);
            v = place != bent.end() ? met[static_cast<std::size_t>(place - bent.begin())] : v;
        }
    }
    return withoutUnusedVertices(soup);
}

Soup withShuffledFaces(Soup soup, std::uint32_t seed) {
    Generator generator(seed);
    shuffle(soup.faces, generator);
    return soup;
}

Soup withRotatedFaceStarts(Soup soup, std::uint32_t seed) {
    Generator generator(seed);
    for (auto& face : soup.faces) {
        std::rotate(face.begin(), face.begin() + randomBelow(generator, 3), face.end());
    }
    return soup;
}

Soup withShuffledVertices(Soup soup, std::uint32_t seed) {
    Generator generator(seed);
    std::vector<std::uint32_t> oldIndex(soup.points.size());
    std::iota(oldIndex.begin(), oldIndex.end(), 0U);
    shuffle(oldIndex, generator);
    std::vector<std::uint32_t> newIndex(oldIndex.size());
    std::vector<std::array<double, 3>> points(oldIndex.size());
    for (std::uint32_t i = 0; i < oldIndex.size(); ++i) {
        newIndex[oldIndex[i]] = i;
        points[i] = soup.points[oldIndex[i]];
    }
    soup.points = std::move(points);
    for (auto& face : soup.faces) {
        for (std::uint32_t& index : face) {
            index = newIndex[index];
        }
    }
    return soup;
}

Soup withUnusedVertices(Soup soup, std::uint32_t count, std::uint32_t seed) {
    Generator generator(seed);
    for (std::uint32_t i = 0; i < count; ++i) {
        std::uint32_t const place = randomBelow(generator, soup.points.size() + 1);
        soup.points.insert(soup.points.begin() + place,
                           {signedUnit(generator), signedUnit(generator), signedUnit(generator)});
        for (auto& face : soup.faces) {
            for (std::uint32_t& index : face) {
                index += index >= place ? 1 : 0;
            }
        }
    }
    return soup;
}

Soup withDuplicateFaces(Soup soup, std::uint32_t count, std::uint32_t seed) {
    Generator generator(seed);
    std::size_t const original = soup.faces.size();
    for (std::uint32_t i = 0; i < count; ++i) {
        auto const face = soup.faces[randomBelow(generator, original)];
        soup.faces.push_back(face);
    }
    return soup;
}

Soup withReversedWinding(Soup soup) {
    for (auto& face : soup.faces) {
        std::swap(face[1], face[2]);
    }
    return soup;
}

Soup withNoise(Soup soup, double amplitude, std::uint32_t seed) {
    Generator generator(seed);
    for (auto& point : soup.points) {
        for (double& coordinate : point) {
            coordinate += amplitude * signedUnit(generator);
        }
    }
    return soup;
}

Soup translated(Soup soup, double x, double y, double z) {
    for (auto& point : soup.points) {
        point = {point[0] + x, point[1] + y, point[2] + z};
    }
    return soup;
}

Soup scaled(Soup soup, double factor) {
    for (auto& point : soup.points) {
        point = {point[0] * factor, point[1] * factor, point[2] * factor};
    }
    return soup;
}

Soup withoutUnusedVertices(Soup const& soup) {
    constexpr std::uint32_t unused = 0xFFFFFFFFU;
    std::vector<std::uint32_t> newIndex(soup.points.size(), unused);
    for (auto const& face : soup.faces) {
        for (std::uint32_t const index : face) {
            newIndex[index] = 0;
        }
    }
    Soup result;
    for (std::size_t i = 0; i < newIndex.size(); ++i) {
        if (newIndex[i] != unused) {
            newIndex[i] = static_cast<std::uint32_t>(result.points.size());
            result.points.push_back(soup.points[i]);
        }
    }
    for (auto const& [a, b, c] : soup.faces) {
        result.faces.push_back({newIndex[a], newIndex[b], newIndex[c]});
    }
    return result;
}

Soup joined(Soup first, Soup const& second) {
    auto const offset = static_cast<std::uint32_t>(first.points.size());
    first.points.insert(first.points.end(), second.points.begin(), second.points.end());
    for (auto const& [a, b, c] : second.faces) {
        first.faces.push_back({a + offset, b + offset, c + offset});
    }
    return first;
}

std::vector<NamedSoup> openFamilies() {
    std::vector<NamedSoup> families{
        {"flat grid", makeGridPatch(6, 4, 3.0, 2.0)},
        {"wavy patch", makeWavyPatch(7, 5)},
        {"quarter cylinder", makeQuarterCylinder(8, 4)},
        {"cap", makeCap(4, 9)},
        {"disc", makeDisc(3, 7, 2.0)},
        {"one hole", makePatchWithHole(7)},
        {"many holes", makePatchWithManyHoles(10)},
        {"tube", makeTube(8, 4)},
        {"strip", makeStrip(12)},
        {"slivers", makeSliverPatch(5, 5)},
        {"huge offset", translated(makeWavyPatch(5, 5), 1.0e6, -3.0e6, 2.0e6)},
        {"tiny scale", scaled(makeWavyPatch(5, 5), 1.0e-12)},
        {"noise", withNoise(makeWavyPatch(8, 8), 0.02, 11)},
        {"reversed winding", withReversedWinding(makeCap(3, 6))},
    };
    std::uint32_t seed = 100;
    for (std::size_t i = 0, n = families.size(); i < n; ++i) {
        Soup soup = withShuffledVertices(families[i].soup, ++seed);
        soup = withRotatedFaceStarts(withShuffledFaces(soup, seed), seed);
        families.push_back({families[i].name + ", shuffled", soup});
    }
    return families;
}

std::vector<NamedSoup> loadableFamilies() {
    std::vector<NamedSoup> families = openFamilies();
    std::vector<NamedSoup> const others{
        {"one triangle", Soup{{{0, 0, 0}, {2, 0, 1}, {0, 3, 0}}, {{0, 1, 2}}}},
        {"tetrahedron", makeTetrahedron()},
        {"octahedron", makeSphere(0)},
        {"sphere", makeSphere(2, 3.0)},
        {"zero-area faces", makePatchWithZeroAreaFaces(6)},
        {"unused vertices", withUnusedVertices(makeWavyPatch(4, 4), 9, 5)},
    };
    std::uint32_t seed = 200;
    for (NamedSoup const& family : others) {
        families.push_back(family);
        Soup soup = withShuffledVertices(family.soup, ++seed);
        soup = withRotatedFaceStarts(withShuffledFaces(soup, seed), seed);
        families.push_back({family.name + ", shuffled", soup});
    }
    return families;
}

std::vector<NamedSoup> unloadableFamilies() {
    Soup inconsistent = makeWavyPatch(2, 2);
    std::swap(inconsistent.faces[5][0], inconsistent.faces[5][1]);
    Soup fin = makeWavyPatch(2, 2);
    fin.points.push_back({0.5, 0.5, 4.0});
    fin.faces.push_back(
        {fin.faces[0][1], fin.faces[0][0], static_cast<std::uint32_t>(fin.points.size() - 1)});
    fin.faces.push_back(
        {fin.faces[0][0], fin.faces[0][2], static_cast<std::uint32_t>(fin.points.size() - 1)});
    Soup overfull = makeTetrahedron();
    overfull.faces.push_back({0, 2, 1});
    return {
        {"two components", makeTwoComponents()},
        {"bow tie", makeBowTie()},
        {"duplicate faces", withDuplicateFaces(makeWavyPatch(3, 3), 3, 21)},
        {"duplicate faces in between", withShuffledFaces(withDuplicateFaces(makeWavyPatch(3, 3), 3, 22), 23)},
        {"inconsistent winding", inconsistent},
        {"three faces at a side", fin},
        {"closed and one face more", overfull},
    };
}

std::string makeTemporaryPath(std::string const& stem, std::string const& extension) {
    static int count = 0;
    return testing::TempDir() + stem + "-" + std::to_string(getpid()) + "-" + std::to_string(++count) +
           extension;
}

TemporaryDirectory::TemporaryDirectory() : directory(makeTemporaryPath("directory", "")) {
    std::filesystem::create_directories(directory);
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(directory, ignored);
}

void writeText(std::string const& path, std::string const& text) {
    std::ofstream stream(path, std::ios::binary);
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    if (!stream) {
        throw std::runtime_error("cannot write " + path);
    }
}

std::string readText(std::string const& path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

std::string objText(Soup const& soup) {
    std::string text;
    for (auto const& [x, y, z] : soup.points) {
        text += "v " + shortest(x) + " " + shortest(y) + " " + shortest(z) + "\n";
    }
    for (auto const& [a, b, c] : soup.faces) {
        text +=
            "f " + std::to_string(a + 1) + " " + std::to_string(b + 1) + " " + std::to_string(c + 1) + "\n";
    }
    return text;
}

void writeObj(std::string const& path, Soup const& soup) {
    writeText(path, objText(soup));
}

void loadSoup(Geometry::ThreeDimensional::TriMesh::Mesh& mesh, Soup const& soup) {
    TemporaryDirectory const directory;
    std::string const path = directory.file("soup.obj");
    writeObj(path, soup);
    mesh.load(path.c_str());
}

std::unique_ptr<Geometry::ThreeDimensional::TriMesh::Mesh> makeMesh(Soup const& soup) {
    auto mesh = std::make_unique<Geometry::ThreeDimensional::TriMesh::Mesh>();
    loadSoup(*mesh, soup);
    return mesh;
}

} // namespace QELT::Testing
