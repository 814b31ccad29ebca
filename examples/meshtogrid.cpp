// From a mesh file to a grid file, with progress, and given up when somebody says so: here after as many
// messages as the third argument tells. meshtogrid part.obj part.quads [messages]

#include "Geometry/geometry.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>

using namespace QELT::Geometry::ThreeDimensional;

namespace {

constexpr double quadArea = 0.25;

/// Prints the stages of the work. What it throws ends the work and comes out of the operation.
class Progress : public QELT::ProgressListener {
public:
    explicit Progress(int newMaxMessages) : maxMessages(newMaxMessages) {}

    void setMessage(char const* text) override {
        std::cout << text << '\n';
        if (++messageCount == maxMessages) {
            throw std::runtime_error("cancelled");
        }
    }

    void setPercentage(unsigned long percent) override { std::cerr << percent << " %\r"; }

    void reserved3() override {}

    void reserved4() override {}

private:
    int messageCount = 0;
    int maxMessages;
};

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "meshtogrid part.obj part.quads [messages]\n";
        return 2;
    }
    Progress progress(argc > 3 ? std::atoi(argv[3]) : 0);
    try {
        TriMesh::Mesh mesh;
        mesh.setProgressListener(&progress);
        mesh.load(argv[1]);
        mesh.conformalMap(false, nullptr, false);
        QuadMesh::RectMesh grid;
        grid.setProgressListener(&progress);
        grid.construct(mesh, quadArea);
        grid.save(argv[2]);
        auto const extents = grid.getExtents();
        std::cout << "grid of " << extents.getdU() << " x " << extents.getdV() << " quads, on average "
                  << grid.getMeanQuadArea() << '\n';
    } catch (std::exception const& failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
}
