#include "Geometry/foundations/internal/outputfile.h"
#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/trimesh/files/internal/cutfile.h"
#include "Geometry/trimesh/files/internal/meshpath.h"
#include "Geometry/trimesh/mesh.h"

#include <array>
#include <charconv>
#include <stdexcept>

// A mesh file is written from top to bottom, a group at a time: a header, the vertices on the surface, those
// of the flat map, the faces. What percentage was reported last is kept from one group to the next, so a
// group that starts with the percentage on which another ended does not report it again.
//
// Numbers have six decimals, without exponents: a coordinate in millimetres keeps a nanometre, and a float of
// 16 and more all its digits. Smaller ones lose some, so a mesh that is loaded again is not the same to the
// bit. Faces come in the order in which the triangles were made, and each begins at the corner at which its
// triangle does, so that the connectivity is.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr char const* fileHeader = "#\n# Proprietary data of Marvisan QELT - do not distribute\n#\n\n";

/// Writes text in which numbers look as `printf` writes them in the C locale, in every locale.
class TextWriter {
public:
    explicit TextWriter(OutputFile& newFile) : file(newFile) {}

    TextWriter& operator<<(std::string_view piece) {
        file.write(piece);
        return *this;
    }

    /// A number with six decimals behind a blank.
    TextWriter& operator<<(double value) {
        // Sign, 309 digits before the point, the point and the decimals.
        std::array<char, 320> digits;
        auto const end =
            std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed, 6)
                .ptr;
        return *this << " " << std::string_view(digits.data(), end);
    }

    /// A whole number behind a blank.
    TextWriter& operator<<(std::uint32_t value) {
        std::array<char, 16> digits;
        auto const end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
        return *this << " " << std::string_view(digits.data(), end);
    }

private:
    OutputFile& file;
};

OutputFile openMeshOutput(char const* path) {
    auto file = OutputFile::open(path, OutputFile::Mode::Text,
                                 [] { throw std::runtime_error("Cannot write mesh file"); });
    if (!file) {
        throw std::runtime_error("Cannot open file");
    }
    return std::move(*file);
}

/// One mesh file, a group at a time. Each group announces itself and reports its percentages.
class MeshFileWriter {
public:
    MeshFileWriter(char const* path, Mesh const& newMesh, ProgressListener* const& ownersListener)
        : mesh(newMesh), listener(ownersListener), progress(ownersListener), file(openMeshOutput(path)) {
        text << fileHeader;
    }

    void writeVertices() {
        reportMessage(listener, "Writing 3D coordinates...");
        text << "g Vertices\n";
        forEachVertex([this](Vertex const& vertex) {
            Point const& point = vertex.getPoint3D();
            text << "v" << double{point.getX()} << double{point.getY()} << double{point.getZ()} << "\n";
        });
    }

    void writeFlatVertices() {
        reportMessage(listener, "Writing 2D coordinates...");
        text << "\ng Vertices2D\n";
        forEachVertex([this](Vertex const& vertex) {
            text << "vt" << vertex.getPoint2D().getU() << vertex.getPoint2D().getV() << "\n";
        });
    }

    /// The flat map as a surface in the plane z = 0.
    void writeFlatSurface() {
        reportMessage(listener, "Writing 3D coordinates...");
        text << "\ng Vertices3D\n";
        forEachVertex([this](Vertex const& vertex) {
            text << "v" << vertex.getPoint2D().getU() << vertex.getPoint2D().getV() << " 0.0\n";
        });
    }

    void writeFaces() {
        text << "\ng Faces\n";
        reportMessage(listener, "Writing connectivity information...");
        std::vector<Triangle*> list;
        std::vector<Triangle*>::iterator first;
        std::vector<Triangle*>::iterator last;
        mesh.getTriangles(list, first, last);
        auto const total = static_cast<std::uint64_t>(last - first);
        for (auto triangle = first; triangle != last; ++triangle) {
            text << "f";
            for (unsigned long i = 0; i < 3; ++i) {
                text << toUInt32((*triangle)->getAdjacentVertexIndex(i)) + 1U;
            }
            text << "\n";
            progress.reportShare(static_cast<std::uint64_t>(triangle - first), total);
        }
    }

    void close() { file.close(); }

private:
    template <class Write>
    void forEachVertex(Write write) {
        for (unsigned long v = 0; v < mesh.getNumberOfVertices(); ++v) {
            write(mesh.getVertex(v));
            progress.reportShare(v, mesh.getNumberOfVertices());
        }
    }

    Mesh const& mesh;
    ProgressListener* const& listener;
    PercentageReporter progress;
    OutputFile file;
    TextWriter text{file};
};

void saveSurface(char const* path, Mesh const& mesh, bool saveFlat, bool saveFlatAs3D,
                 ProgressListener* const& listener) {
    checkExtension(path);
    reportMessage(listener, ("Initialising file save: " + std::string(path) + ".").c_str());
    MeshFileWriter writer(path, mesh, listener);
    if (!saveFlatAs3D) {
        writer.writeVertices();
    }
    if (saveFlat && saveFlatAs3D) {
        writer.writeFlatSurface();
    } else if (saveFlat) {
        writer.writeFlatVertices();
    }
    writer.writeFaces();
    writer.close();
}

} // namespace

void Mesh::save(char const* path, bool saveFlat, bool saveFlatAs3D) const {
    saveSurface(path, *this, saveFlat, saveFlatAs3D, progressListener);
    std::string const stem(getStem(getNameWithExtension(path)));
    saveCutEdgeIndices(getPathBeside(path, getCutEdgeIndicesFileName(stem)), cutEdgeIndices);
}

void Mesh::save(char const* path, char const* cutPath, bool saveFlat, bool saveFlatAs3D) const {
    saveSurface(path, *this, saveFlat, saveFlatAs3D, progressListener);
    if (!writeCutFile(cutPath, cutEdgeIndices)) {
        throw std::runtime_error("Cannot open cut file");
    }
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
