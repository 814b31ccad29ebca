#include "tests/support/plain_meshcopy.h"

#include <map>
#include <vector>

namespace QELT::Testing {

using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::Triangle;

namespace {

using Numbers = std::map<Triangle const*, int>;

void reach(Triangle const* start, Numbers& numbers) {
    std::vector<Triangle const*> open{start};
    while (!open.empty()) {
        Triangle const* const triangle = open.back();
        open.pop_back();
        if (triangle != nullptr && numbers.emplace(triangle, 0).second) {
            open.insert(open.end(), triangle->adjacentTriangles.begin(), triangle->adjacentTriangles.end());
        }
    }
}

int numberOf(Numbers const& numbers, Triangle const* triangle) {
    return triangle == nullptr ? PlainMesh::none : numbers.at(triangle);
}

std::vector<int> numbersOf(Numbers const& numbers, std::vector<Triangle*> const& list) {
    std::vector<int> result;
    for (Triangle const* const triangle : list) {
        result.push_back(numberOf(numbers, triangle));
    }
    return result;
}

PlainMesh::PlainTriangle copied(Triangle const& triangle, Numbers const& numbers) {
    PlainMesh::PlainTriangle copy;
    for (std::size_t i = 0; i < 3; ++i) {
        copy.vertices[i] = triangle.vertexIndices[i];
        copy.neighbours[i] = numberOf(numbers, triangle.adjacentTriangles[i]);
        copy.sides[i] = triangle.adjacentTriangleEdgeIndices[i];
    }
    return copy;
}

} // namespace

PlainMesh plainCopyOf(Mesh const& mesh) {
    Numbers numbers;
    for (auto const& list : mesh.vertexTriangles) {
        for (Triangle const* const triangle : list) {
            reach(triangle, numbers);
        }
    }
    int next = 0;
    for (auto& entry : numbers) {
        entry.second = next++;
    }
    PlainMesh copy;
    copy.name = mesh.fileName;
    for (auto const& entry : numbers) {
        copy.triangles.push_back(copied(*entry.first, numbers));
    }
    for (auto const& vertex : mesh.vertices) {
        copy.vertices.push_back({vertex.point3D, vertex.point2D, vertex.normal3D});
    }
    for (auto const& list : mesh.vertexTriangles) {
        copy.incidence.push_back(numbersOf(numbers, list));
    }
    for (auto const& entry : mesh.cutEdgeIndices.first) {
        copy.cut.first.push_back(entry.index);
    }
    for (auto const& entry : mesh.cutEdgeIndices.second) {
        copy.cut.second.push_back(entry.index);
    }
    return copy;
}

} // namespace QELT::Testing
