#include "tests/support/loadcomparison.h"

#include "tests/support/meshfamilies.h"
#include "tests/support/plain_objloader.h"
#include "tests/support/recordinglistener.h"

#include "Geometry/trimesh/mesh.h"

#include <algorithm>
#include <exception>
#include <sstream>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::TriMesh::FileContents;
using Geometry::ThreeDimensional::TriMesh::Mesh;

/// All that can be seen of a load, as lines of text.
std::string summarise(std::string const& failure, bool contains2D, std::string const& state) {
    return "failure <" + failure + ">\ncontains 2D " + (contains2D ? "yes" : "no") + "\n" + state;
}

std::string loadWithLibrary(std::string const& path, ProgressListener* listener) {
    Mesh mesh;
    mesh.setProgressListener(listener);
    std::string failure;
    FileContents contents;
    try {
        contents = mesh.load(path.c_str());
    } catch (std::exception const& exception) {
        failure = exception.what();
    }
    return summarise(failure, contents.getDoesContain2D(), describe(mesh));
}

std::string joinLines(ProgressLines const& lines) {
    std::string text;
    for (std::string const& line : lines) {
        text += line + "\n";
    }
    return text;
}

std::string firstDifference(std::string const& actual, std::string const& expected) {
    std::istringstream actualLines(actual);
    std::istringstream expectedLines(expected);
    std::string actualLine;
    std::string expectedLine;
    for (int number = 1;; ++number) {
        bool const hasActual = static_cast<bool>(std::getline(actualLines, actualLine));
        bool const hasExpected = static_cast<bool>(std::getline(expectedLines, expectedLine));
        if (!hasActual || !hasExpected || actualLine != expectedLine) {
            return "line " + std::to_string(number) + ":\n  is        " +
                   (hasActual ? actualLine : "(nothing)") + "\n  should be " +
                   (hasExpected ? expectedLine : "(nothing)");
        }
    }
}

} // namespace

testing::AssertionResult loadsLikePlainLoader(std::string const& text) {
    TemporaryDirectory const directory;
    std::string const path = directory.file("mesh.obj");
    writeText(path, text);
    PlainMesh plain;
    PlainLoadResult const result = plainLoad(plain, path);
    std::string const expected = summarise(result.failure, result.contains2D, describe(plain));

    RecordingListener listener;
    std::string const heard = loadWithLibrary(path, &listener);
    std::string const silent = loadWithLibrary(path, nullptr);
    if (heard != expected || silent != expected) {
        return testing::AssertionFailure()
               << firstDifference(heard != expected ? heard : silent, expected) << "\nof the file:\n"
               << text.substr(0, 2000);
    }
    std::string const progress = joinLines(listener.events);
    if (progress != joinLines(result.progress)) {
        return testing::AssertionFailure()
               << "progress, " << firstDifference(progress, joinLines(result.progress)) << "\nof the file:\n"
               << text.substr(0, 2000);
    }
    return testing::AssertionSuccess();
}

std::string getLoadFailure(std::string const& text) {
    TemporaryDirectory const directory;
    std::string const path = directory.file("mesh.obj");
    writeText(path, text);
    Mesh mesh;
    try {
        mesh.load(path.c_str());
    } catch (std::exception const& exception) {
        return exception.what();
    }
    return "";
}

} // namespace QELT::Testing
