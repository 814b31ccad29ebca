#include "tests/support/plain_triangles.h"

#include <algorithm>
#include <functional>

namespace QELT::Testing {

using Geometry::ThreeDimensional::TriMesh::Edge;
using Geometry::ThreeDimensional::TriMesh::Mesh;

PlainTriangles::PlainTriangles(Mesh const& mesh) {
    for (unsigned long v = 0; v < mesh.getNumberOfVertices(); ++v) {
        Edge start = mesh.getVertexArbitraryEdge(v);
        if (start.getTriangle() == nullptr) {
            continue;
        }
        if (mesh.getIsBoundaryVertex(v)) {
            while (!start.isBoundary()) {
                start = start.oprev();
            }
        }
        Edge spoke = start;
        do {
            list.push_back(spoke.getTriangle());
            spoke = spoke.onext();
        } while (spoke.getTriangle() != nullptr && spoke != start);
    }
    std::sort(list.begin(), list.end(), std::less<>());
    auto const last = std::unique(list.begin(), list.end());
    listed.assign(list.begin(), last);
}

} // namespace QELT::Testing
