#include "apps/cscan/objfile.h"

#include "apps/cscan/failure.h"
#include "apps/cscan/files.h"

namespace cscan {

ObjContents loadObj(Mesh& mesh, std::filesystem::path const& path) {
    requireReadable(path);
    return naming(path.string(), [&] {
        WorkingDirectory const directory(path);
        return ObjContents{mesh.load(path.filename().c_str()).getDoesContain2D()};
    });
}

void saveFlatObj(Mesh const& mesh, std::filesystem::path const& path) {
    naming(path.string(), [&] {
        WorkingDirectory const directory(path);
        mesh.save(path.filename().c_str(), true, false);
    });
}

} // namespace cscan
