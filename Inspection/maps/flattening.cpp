#include "Inspection/maps/flattening.h"

#include "Inspection/records/stopwatch.h"

#include <iostream>

namespace QELT::Inspection {

namespace {

/// Throws away what is written to a stream for as long as the object lives: the core's solver writes its
/// progress to the standard output, among the findings.
class Silence {
public:
    explicit Silence(std::ostream& silenced)
        : stream(silenced), state(silenced.rdstate()), buffer(silenced.rdbuf(nullptr)) {}

    ~Silence() {
        stream.rdbuf(buffer);
        stream.clear(state);
    }

    Silence(Silence const&) = delete;
    Silence& operator=(Silence const&) = delete;

private:
    std::ostream& stream;
    std::ios_base::iostate state;
    std::streambuf* buffer;
};

} // namespace

FlatteningReport flatten(Mesh& mesh, FlatteningMode mode, ProgressListener* listener) {
    Stopwatch const watch;
    mesh.setProgressListener(listener);
    {
        Silence const silence(std::cout);
        mesh.conformalMap(mode == FlatteningMode::Pinned, nullptr, false);
    }
    return {mesh.getConformalMapReport(), watch.seconds()};
}

} // namespace QELT::Inspection
