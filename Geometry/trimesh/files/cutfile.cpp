#include "Geometry/trimesh/files/internal/cutfile.h"

#include "Geometry/foundations/internal/outputfile.h"

#include <fstream>
#include <locale>
#include <stdexcept>

// The file of a cut holds one pair of vertices a line, the lip that stayed first: "3, 7". It is read as three
// words a pair until a read fails, whatever the separators. The read that meets the end of the file counts as
// a pair as well, of what it left: (0, 0). That is odd and kept, because the pair is saved again and marks
// cells of a resampled grid.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

bool writeCutFile(std::string const& path, CutEdgeIndices const& indices) {
    if (indices.first.empty()) {
        return true;
    }
    auto file = OutputFile::open(path, OutputFile::Mode::Text,
                                 [] { throw std::runtime_error("Cannot write cut file"); });
    if (!file) {
        return false;
    }
    for (std::size_t k = 0; k < indices.first.size(); ++k) {
        file->write(std::to_string(indices.first[k].index) + ", " + std::to_string(indices.second[k].index) +
                    '\n');
    }
    file->close();
    return true;
}

CutEdgeIndices readCutFile(std::string const& path) {
    std::ifstream stream(path);
    stream.imbue(std::locale::classic());
    CutEdgeIndices read;
    while (stream.good()) {
        CutEdgeIndex first;
        CutEdgeIndex second;
        std::string separator;
        stream >> first.index >> separator >> second.index;
        read.first.push_back(first);
        read.second.push_back(second);
    }
    return read;
}

std::string Mesh::getCutEdgeIndicesFileName(std::string const& stem) const {
    return stem + "_cut_indices.txt";
}

void Mesh::saveCutEdgeIndices(std::string const& path, CutEdgeIndices const& indices) const {
    // That it cannot be opened goes unnoticed: with other separators than backslashes the path leads nowhere.
    writeCutFile(path, indices);
}

void Mesh::loadCutEdgeIndices(std::string const& path, CutEdgeIndices& indices) const {
    CutEdgeIndices const read = readCutFile(path);
    // Both lips get their entries or, should there be no memory for one, neither.
    indices.first.reserve(indices.first.size() + read.first.size());
    indices.second.reserve(indices.second.size() + read.second.size());
    indices.first.insert(indices.first.end(), read.first.begin(), read.first.end());
    indices.second.insert(indices.second.end(), read.second.begin(), read.second.end());
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
