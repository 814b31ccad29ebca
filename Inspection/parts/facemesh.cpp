#include "Inspection/parts/facemesh.h"

#include "Inspection/parts/meshsummary.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"

#include <fstream>
#include <limits>
#include <string>

namespace QELT::Inspection {

FaceMesh faceMeshOf(Mesh const& mesh) {
    FaceMesh result;
    for (unsigned long i = 0; i < mesh.getNumberOfVertices(); ++i) {
        result.points.push_back(mesh.getVertex(i).getPoint3D());
    }
    for (Triangle const* const triangle : trianglesOf(mesh)) {
        Face face{};
        for (unsigned corner = 0; corner < 3; ++corner) {
            face.at(corner) = static_cast<unsigned>(triangle->getAdjacentVertexIndex(corner));
        }
        result.faces.push_back(face);
    }
    return result;
}

std::size_t dropLoosePoints(FaceMesh& mesh) {
    constexpr unsigned loose = std::numeric_limits<unsigned>::max();
    std::vector<unsigned> newIndex(mesh.points.size(), loose);
    for (Face const& face : mesh.faces) {
        for (unsigned const point : face) {
            newIndex[point] = 0;
        }
    }
    unsigned count = 0;
    for (std::size_t i = 0; i < mesh.points.size(); ++i) {
        if (newIndex[i] != loose) {
            mesh.points[count] = mesh.points[i];
            newIndex[i] = count++;
        }
    }
    std::size_t const looseCount = mesh.points.size() - count;
    mesh.points.resize(count);
    for (Face& face : mesh.faces) {
        for (unsigned& point : face) {
            point = newIndex[point];
        }
    }
    return looseCount;
}

void writeFaces(FaceMesh const& mesh, Destination const& to) {
    std::ofstream file(to.file);
    for (Point const& point : mesh.points) {
        file << "v " << toExactText(point.getX()) << ' ' << toExactText(point.getY()) << ' '
             << toExactText(point.getZ()) << '\n';
    }
    for (Face const& face : mesh.faces) {
        file << "f " << std::to_string(face[0] + 1) << ' ' << std::to_string(face[1] + 1) << ' '
             << std::to_string(face[2] + 1) << '\n';
    }
    file.close();
    if (!file) {
        throw Failure(to.name.string() + ": cannot be written");
    }
}

} // namespace QELT::Inspection
