#include "Geometry/foundations/internal/outputfile.h"
#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/trimesh/files/internal/meshpath.h"
#include "Geometry/trimesh/mesh.h"

#include <array>
#include <charconv>
#include <stdexcept>

// The file is written from top to bottom, a group at a time: a header, the vertices on the surface, those of
// the flat map, the faces. Each group reports its percentages, and what was reported last is kept from one
// group to the next.

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

void writeVertices(TextWriter& text, Mesh const& mesh, PercentageReporter& progress) {
    text << "g Vertices\n";
    for (unsigned long v = 0; v < mesh.getNumberOfVertices(); ++v) {
        Point const& point = mesh.getVertex(v).getPoint3D();
        text << "v" << double{point.getX()} << double{point.getY()} << double{point.getZ()} << "\n";
        progress.reportShare(v, mesh.getNumberOfVertices());
    }
}

void writeFlatVertices(TextWriter& text, Mesh const& mesh, PercentageReporter& progress) {
    text << "\ng Vertices2D\n";
    for (unsigned long v = 0; v < mesh.getNumberOfVertices(); ++v) {
        auto const& point = mesh.getVertex(v).getPoint2D();
        text << "vt" << point.getU() << point.getV() << "\n";
        progress.reportShare(v, mesh.getNumberOfVertices());
    }
}

/// The flat map as a surface in the plane z = 0.
void writeFlatSurface(TextWriter& text, Mesh const& mesh, PercentageReporter& progress) {
    text << "\ng Vertices3D\n";
    for (unsigned long v = 0; v < mesh.getNumberOfVertices(); ++v) {
        auto const& point = mesh.getVertex(v).getPoint2D();
        text << "v" << point.getU() << point.getV() << " 0.0\n";
        progress.reportShare(v, mesh.getNumberOfVertices());
    }
}

void writeFaces(TextWriter& text, Mesh const& mesh, PercentageReporter& progress) {
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

OutputFile openMeshOutput(char const* path) {
    auto file = OutputFile::open(path, OutputFile::Mode::Text,
                                 [] { throw std::runtime_error("Cannot write mesh file"); });
    if (!file) {
        throw std::runtime_error("Cannot open file");
    }
    return std::move(*file);
}

} // namespace

void Mesh::saveSurface(char const* path, bool saveFlat, bool saveFlatAs3D) const {
    checkExtension(path);
    reportMessage(progressListener, ("Initialising file save: " + std::string(path) + ".").c_str());
    OutputFile file = openMeshOutput(path);
    TextWriter text(file);
    PercentageReporter progress(progressListener);
    text << fileHeader;
    if (!saveFlatAs3D) {
        reportMessage(progressListener, "Writing 3D coordinates...");
        writeVertices(text, *this, progress);
    }
    if (saveFlat && saveFlatAs3D) {
        reportMessage(progressListener, "Writing 3D coordinates...");
        writeFlatSurface(text, *this, progress);
    } else if (saveFlat) {
        reportMessage(progressListener, "Writing 2D coordinates...");
        writeFlatVertices(text, *this, progress);
    }
    text << "\ng Faces\n";
    reportMessage(progressListener, "Writing connectivity information...");
    writeFaces(text, *this, progress);
    file.close();
}

void Mesh::save(char const* path, bool saveFlat, bool saveFlatAs3D) const {
    saveSurface(path, saveFlat, saveFlatAs3D);
    std::string const stem(getStem(getNameWithExtension(path)));
    saveCutEdgeIndices(getPathBeside(path, getCutEdgeIndicesFileName(stem)), cutEdgeIndices);
}

void Mesh::save(char const* path, char const* cutPath, bool saveFlat, bool saveFlatAs3D) const {
    saveSurface(path, saveFlat, saveFlatAs3D);
    if (!writeCutEdgeIndices(cutPath, cutEdgeIndices)) {
        throw std::runtime_error("Cannot open cut file");
    }
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
