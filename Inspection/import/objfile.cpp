#include "Inspection/import/objfile.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"

namespace QELT::Inspection {

ObjContents loadObj(Mesh& mesh, std::filesystem::path const& path) {
    requireReadable(path);
    return naming(path.string(), [&] {
        return ObjContents{mesh.load(path.c_str(), cutFileOf(path).c_str()).getDoesContain2D()};
    });
}

std::filesystem::path cutFileOf(std::filesystem::path const& path) {
    return path.parent_path() / (path.filename().string() + "\\" + path.stem().string() + "_cut_indices.txt");
}

void requireObjOutput(std::filesystem::path const& path) {
    if (path.extension() != ".obj") {
        throw Failure(path.string() + ": the name of a mesh file must end in .obj");
    }
    requireWritable(path);
}

void requireNoCutBeside(std::filesystem::path const& path) {
    std::error_code ignored;
    if (std::filesystem::exists(cutFileOf(path), ignored)) {
        throw Failure(path.string() + ": the cut of another mesh lies beside it (" +
                      cutFileOf(path).string() + "); remove it first");
    }
}

void saveObj(Mesh const& mesh, std::filesystem::path const& path) {
    naming(path.string(), [&] { mesh.save(path.c_str(), cutFileOf(path).c_str(), false, false); });
}

void saveFlatObj(Mesh const& mesh, std::filesystem::path const& path) {
    naming(path.string(), [&] { mesh.save(path.c_str(), cutFileOf(path).c_str(), true, false); });
}

} // namespace QELT::Inspection
