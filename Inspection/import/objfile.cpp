#include "Inspection/import/objfile.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"

namespace QELT::Inspection {

namespace {

void save(Mesh const& mesh, Destination const& to, Destination const& cut, bool doSaveFlat) {
    naming(to.name.string(), [&] { mesh.save(to.file.c_str(), cut.file.c_str(), doSaveFlat, false); });
}

/// The core makes no file of a cut that there is not.
Destination cutIn(Outputs& outputs, Mesh const& mesh, std::filesystem::path const& path) {
    auto const cut = cutFileOf(path);
    return mesh.getCutEdgeIndices().first.empty() ? Destination(cut) : outputs.at(cut);
}

} // namespace

ObjContents loadObj(Mesh& mesh, std::filesystem::path const& path) {
    requireReadable(path);
    return naming(path.string(), [&] {
        return ObjContents{mesh.load(path.c_str(), cutFileOf(path).c_str()).getDoesContain2D()};
    });
}

std::filesystem::path cutFileOf(std::filesystem::path const& path) {
    return path.parent_path() / (path.filename().string() + "\\" + path.stem().string() + "_cut_indices.txt");
}

void addCutInput(Record& record, std::filesystem::path const& path) {
    std::error_code ignored;
    if (auto const cut = cutFileOf(path); std::filesystem::exists(cut, ignored)) {
        record.addCompanion(cut);
    }
}

void addObjOutput(Outputs& outputs, std::filesystem::path const& path) {
    if (path.extension() != ".obj") {
        throw Failure(path.string() + ": the name of a mesh file must end in .obj");
    }
    outputs.add(path);
}

void addCutOutput(Outputs& outputs, std::filesystem::path const& path) {
    outputs.addBeside(cutFileOf(path), path);
}

void requireNoCutBeside(std::filesystem::path const& path) {
    std::error_code ignored;
    if (std::filesystem::exists(cutFileOf(path), ignored)) {
        throw Failure(path.string() + ": the cut of another mesh lies beside it (" +
                      cutFileOf(path).string() + "); remove it first");
    }
}

void saveObj(Mesh const& mesh, std::filesystem::path const& path) {
    save(mesh, path, cutFileOf(path), false);
}

void saveObj(Mesh const& mesh, std::filesystem::path const& path, Outputs& outputs) {
    save(mesh, outputs.at(path), cutIn(outputs, mesh, path), false);
}

void saveFlatObj(Mesh const& mesh, std::filesystem::path const& path) {
    save(mesh, path, cutFileOf(path), true);
}

void saveFlatObj(Mesh const& mesh, std::filesystem::path const& path, Outputs& outputs) {
    save(mesh, outputs.at(path), cutIn(outputs, mesh, path), true);
}

} // namespace QELT::Inspection
