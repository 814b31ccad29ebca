#include "tests/support/plain_objloader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <locale.h>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>

namespace QELT::Testing {

namespace {

/// The C locale for this thread, for as long as the object lives.
class ClassicLocale {
public:
    ClassicLocale() : classic(newlocale(LC_ALL_MASK, "C", nullptr)), previous(uselocale(classic)) {}

    ClassicLocale(ClassicLocale const&) = delete;
    ClassicLocale& operator=(ClassicLocale const&) = delete;

    ~ClassicLocale() {
        uselocale(previous);
        freelocale(classic);
    }

private:
    locale_t classic;
    locale_t previous;
};

/// Percentages of one stage, each told only when it is a new one.
class Stage {
public:
    explicit Stage(ProgressLines& progressLines) : lines(progressLines) {}

    void tell(std::uint64_t percentage) {
        if (percentage != last) {
            last = percentage;
            lines.push_back(std::to_string(percentage) + "%");
        }
    }

private:
    ProgressLines& lines;
    std::uint64_t last = 0;
};

struct OpenEdgeKey {
    std::uint32_t org;
    std::uint32_t dest;
    std::uint32_t vertexCount;
    int triangle;

    std::uint64_t value() const { return static_cast<std::uint64_t>(vertexCount) * dest + org; }

    bool operator<(OpenEdgeKey const& other) const { return value() < other.value(); }
};

using Face = std::array<std::uint32_t, 3>;
constexpr std::uint32_t outOfRange = 0xFFFFFFFFU;

class Loader {
public:
    Loader(PlainMesh& target, ProgressLines& progressLines) : mesh(target), lines(progressLines) {}

    ~Loader() {
        if (file != nullptr) {
            std::fclose(file);
        }
    }

    Loader(Loader const&) = delete;
    Loader& operator=(Loader const&) = delete;

    bool load(std::string const& path) {
        std::string const bare = path.substr(path.rfind('\\') + 1);
        mesh.name = bare.substr(0, bare.rfind('.'));
        if (path.find(".obj") == std::string::npos) {
            throw std::runtime_error("Invalid file extension");
        }
        message("Initialising file load: " + bare + ".");
        mesh.vertices.clear();
        mesh.incidence.clear();
        mesh.triangles.clear();
        file = std::fopen(path.c_str(), "rt");
        if (file == nullptr) {
            throw std::runtime_error("Cannot open file");
        }
        readVertices();
        readFlatPoints();
        readFaces();
        message("Constructing triangle mesh...");
        stitch();
        mesh.clean();
        mesh.computeNormals();
        std::string const directory = path.substr(0, path.rfind('\\'));
        readCut(directory + "\\" + mesh.name + "_cut_indices.txt");
        return flatCount == vertexCount;
    }

private:
    void message(std::string const& text) { lines.push_back(text); }

    void rewindFile() { std::fseek(file, 0, SEEK_SET); }

    void readVertices() {
        std::uint64_t estimate = 1;
        int previous = 0;
        for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
            estimate += c == ' ' && previous == 'v' ? 1 : 0;
            previous = c;
        }
        rewindFile();
        message("Reading 3D coordinates...");
        Stage stage(lines);
        while (true) {
            int c = std::fgetc(file);
            while (c != 'v' && c != EOF) {
                c = std::fgetc(file);
            }
            std::array<float, 3> xyz{};
            int const fields = std::fscanf(file, " %f %f %f", &xyz[0], &xyz[1], &xyz[2]);
            if (fields == EOF) {
                break;
            }
            if (fields == 3) {
                Geometry::ThreeDimensional::Point const point(
                    static_cast<double>(xyz[0]), static_cast<double>(xyz[1]), static_cast<double>(xyz[2]));
                mesh.addVertex(point);
                ++vertexCount;
                stage.tell(100ULL * vertexCount / estimate + 1);
            }
        }
        if (vertexCount == 0) {
            throw std::runtime_error("File does not contain 3D data");
        }
    }

    /// Reads on behind the next "vt". False at the end of the file.
    bool findFlatRecord() {
        int previous = 0;
        for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
            if (c == 't' && previous == 'v') {
                return true;
            }
            previous = c;
        }
        return false;
    }

    void readFlatPoints() {
        rewindFile();
        if (findFlatRecord()) {
            message("Reading 2D coordinates...");
        }
        rewindFile();
        Stage stage(lines);
        while (true) {
            findFlatRecord();
            std::array<float, 2> uv{};
            int const fields = std::fscanf(file, " %f %f", &uv[0], &uv[1]);
            if (fields == EOF) {
                break;
            }
            if (fields == 2) {
                if (flatCount < vertexCount) {
                    mesh.vertices[flatCount].flatPoint.set(static_cast<double>(uv[0]),
                                                           static_cast<double>(uv[1]));
                }
                ++flatCount;
                stage.tell(100ULL * flatCount / vertexCount + 1);
            }
        }
        if (flatCount != 0 && flatCount != vertexCount) {
            throw std::runtime_error("Invalid number of 2D coordinates");
        }
    }

    std::uint32_t zeroBased(long index) const {
        return index < 1 || index > static_cast<long>(vertexCount) ? outOfRange
                                                                   : static_cast<std::uint32_t>(index - 1);
    }

    void readFaces() {
        message("Reading connectivity information...");
        rewindFile();
        std::uint64_t estimate = 1;
        for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
            estimate += c == 'f' ? 1 : 0;
        }
        rewindFile();
        Stage stage(lines);
        while (true) {
            int c = std::fgetc(file);
            while (c != 'f' && c != EOF) {
                c = std::fgetc(file);
            }
            std::array<long, 3> indices{};
            int const fields = std::fscanf(file, " %ld %ld %ld", &indices[0], &indices[1], &indices[2]);
            if (fields == EOF) {
                break;
            }
            if (fields == 3) {
                if (zeroBased(indices[0]) == outOfRange) {
                    throw std::runtime_error("Invalid vertex index");
                }
                faces.push_back({zeroBased(indices[0]), zeroBased(indices[1]), zeroBased(indices[2])});
                stage.tell(100ULL * faces.size() / estimate + 1);
            }
        }
    }

    void insert(PlainMesh::PlainEdge e) {
        openEdges.insert({mesh.org(e), mesh.dest(e), vertexCount, e.triangle});
    }

    static void failUnless(bool condition) {
        if (!condition) {
            throw std::runtime_error("Mesh construction failure");
        }
    }

    void checkFaces() const {
        failUnless(!faces.empty());
        for (Face const& face : faces) {
            for (std::uint32_t const index : face) {
                if (index == outOfRange) {
                    throw std::runtime_error("Invalid vertex index");
                }
            }
        }
    }

    void stitch() {
        checkFaces();
        failUnless(mesh.addFloatingTriangle({faces[0].begin(), faces[0].end()}));
        int const first = mesh.incidence[faces[0][0]][0];
        for (std::uint32_t side = 0; side < 3; ++side) {
            insert({first, side});
        }
        std::size_t const faceCount = faces.size();
        faces[0] = faces[faceCount - 1];
        std::size_t remaining = faceCount - 1;
        std::size_t i = 0;
        std::size_t misses = 0;
        Stage stage(lines);
        while (remaining > 0) {
            failUnless(misses < remaining);
            ++misses;
            if (joinFace(faces[i])) {
                misses = 0;
                faces[i] = faces[remaining - 1];
                --remaining;
                stage.tell((faceCount - remaining - 1) * 100 / faceCount + 1);
            }
            i = i + 1 < remaining ? i + 1 : 0;
        }
    }

    /// Joins the face to the first of its sides that is open. False if none is.
    bool joinFace(Face const face) {
        for (std::size_t k = 0; k < 3; ++k) {
            std::uint32_t const a = face[k];
            std::uint32_t const b = face[(k + 1) % 3];
            auto const hit = openEdges.find({b, a, vertexCount, PlainMesh::none});
            if (hit == openEdges.end()) {
                continue;
            }
            PlainMesh::PlainEdge const e = mesh.edgeFromVertex(hit->triangle, b);
            failUnless(e.triangle != PlainMesh::none);
            failUnless(mesh.addBoundaryTriangle(e, face[(k + 2) % 3]));
            PlainMesh::PlainEdge const s = mesh.sym(e);
            insert(mesh.rot(s));
            insert(mesh.rot(mesh.rot(s)));
            openEdges.erase(hit);
            return true;
        }
        return false;
    }

    void readCut(std::string const& path) {
        std::ifstream stream(path);
        stream.imbue(std::locale::classic());
        if (!stream.is_open()) {
            return;
        }
        while (stream.good()) {
            std::uint32_t first = 0;
            std::uint32_t second = 0;
            std::string comma;
            stream >> first >> comma >> second;
            mesh.cut.first.push_back(first);
            mesh.cut.second.push_back(second);
        }
    }

    PlainMesh& mesh;
    ProgressLines& lines;
    std::FILE* file = nullptr;
    std::uint32_t vertexCount = 0;
    std::uint32_t flatCount = 0;
    std::vector<Face> faces;
    std::set<OpenEdgeKey> openEdges;
};

// Text of a mesh.

std::string bits(float value) {
    return std::isnan(value) ? "nan" : std::to_string(std::bit_cast<std::uint32_t>(value));
}

std::string bits(double value) {
    return std::isnan(value) ? "nan" : std::to_string(std::bit_cast<std::uint64_t>(value));
}

std::string describeVertex(Geometry::ThreeDimensional::Point const& p,
                           Geometry::TwoDimensional::Point<double> const& f,
                           Geometry::ThreeDimensional::Vector const& n) {
    return bits(p.getX()) + " " + bits(p.getY()) + " " + bits(p.getZ()) + " flat " + bits(f.getU()) + " " +
           bits(f.getV()) + " normal " + bits(n.getdX()) + " " + bits(n.getdY()) + " " + bits(n.getdZ());
}

/// Numbers the triangles that `lists` and the neighbours of those lead to, in ascending order.
template <class Id, class NeighboursOf>
std::map<Id, int> numberReachable(std::vector<std::vector<Id>> const& lists, Id none,
                                  NeighboursOf const& neighboursOf) {
    std::map<Id, int> numbers;
    std::vector<Id> open;
    auto const reach = [&](Id triangle) {
        if (triangle != none && numbers.emplace(triangle, 0).second) {
            open.push_back(triangle);
        }
    };
    for (auto const& list : lists) {
        std::for_each(list.begin(), list.end(), reach);
    }
    while (!open.empty()) {
        Id const triangle = open.back();
        open.pop_back();
        for (Id const neighbour : neighboursOf(triangle)) {
            reach(neighbour);
        }
    }
    int next = 0;
    for (auto& [triangle, number] : numbers) {
        number = next++;
    }
    numbers.emplace(none, -1);
    return numbers;
}

template <class Triangles, class Number>
void writeList(std::ostream& text, Triangles first, Triangles last, Number const& number) {
    for (; first != last; ++first) {
        text << " " << number(*first);
    }
    text << "\n";
}

} // namespace

PlainLoadResult plainLoad(PlainMesh& mesh, std::string const& path) {
    ClassicLocale const classic;
    PlainLoadResult result;
    Loader loader(mesh, result.progress);
    try {
        result.contains2D = loader.load(path);
    } catch (std::runtime_error const& failure) {
        result.failure = failure.what();
    }
    return result;
}

std::string describe(PlainMesh const& mesh) {
    auto const triangleAt = [&](int triangle) -> PlainMesh::PlainTriangle const& {
        return mesh.triangles[static_cast<std::size_t>(triangle)];
    };
    auto const numbers = numberReachable(mesh.incidence, PlainMesh::none,
                                         [&](int triangle) { return triangleAt(triangle).neighbours; });
    auto const number = [&](int triangle) { return numbers.at(triangle); };
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << "name " << mesh.name << "\n";
    for (std::size_t v = 0; v < mesh.vertices.size(); ++v) {
        PlainMesh::PlainVertex const& vertex = mesh.vertices[v];
        text << "vertex " << v << ": " << describeVertex(vertex.point, vertex.flatPoint, vertex.normal)
             << " listed";
        writeList(text, mesh.incidence[v].begin(), mesh.incidence[v].end(), number);
    }
    for (auto const& [id, triangleNumber] : numbers) {
        if (id == PlainMesh::none) {
            continue;
        }
        text << "triangle " << triangleNumber << ":";
        for (std::size_t i = 0; i < 3; ++i) {
            PlainMesh::PlainTriangle const& triangle = triangleAt(id);
            text << " (" << triangle.vertices[i] << ", " << number(triangle.neighbours[i]) << ", "
                 << triangle.sides[i] << ")";
        }
        text << "\n";
    }
    text << "walked";
    std::vector<int> const walked = mesh.walkedTriangles();
    writeList(text, walked.begin(), walked.end(), number);
    for (std::size_t k = 0; k < mesh.cut.first.size(); ++k) {
        text << "cut " << mesh.cut.first[k] << " " << mesh.cut.second[k] << "\n";
    }
    return text.str();
}

std::string describe(Geometry::ThreeDimensional::TriMesh::Mesh const& mesh) {
    using Geometry::ThreeDimensional::TriMesh::Triangle;
    Triangle* const none = nullptr;
    auto const numbers = numberReachable(mesh.vertexTriangles, none,
                                         [](Triangle* triangle) { return triangle->adjacentTriangles; });
    auto const number = [&](Triangle* triangle) { return numbers.at(triangle); };
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << "name " << mesh.fileName << "\n";
    for (std::size_t v = 0; v < mesh.vertices.size(); ++v) {
        auto const& vertex = mesh.vertices[v];
        text << "vertex " << v << ": " << describeVertex(vertex.point3D, vertex.point2D, vertex.normal3D)
             << " listed";
        writeList(text, mesh.vertexTriangles[v].begin(), mesh.vertexTriangles[v].end(), number);
    }
    for (auto const& [triangle, triangleNumber] : numbers) {
        if (triangle == nullptr) {
            continue;
        }
        text << "triangle " << triangleNumber << ":";
        for (std::size_t i = 0; i < 3; ++i) {
            text << " (" << triangle->vertexIndices[i] << ", " << number(triangle->adjacentTriangles[i])
                 << ", " << triangle->adjacentTriangleEdgeIndices[i] << ")";
        }
        text << "\n";
    }
    text << "walked";
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    mesh.getTriangles(list, first, last);
    writeList(text, first, last, number);
    for (std::size_t k = 0; k < mesh.cutEdgeIndices.first.size(); ++k) {
        text << "cut " << mesh.cutEdgeIndices.first[k].index << " " << mesh.cutEdgeIndices.second[k].index
             << "\n";
    }
    return text.str();
}

} // namespace QELT::Testing
