#include "Inspection/import/internal/scenereader.h"

#include "Inspection/import/internal/bytes.h"
#include "Inspection/import/internal/threemfmodel.h"
#include "Inspection/import/internal/zippackage.h"

#include <cmath>
#include <nlohmann/json.hpp>

#ifdef QELT_WITH_ASSIMP
#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#endif

// A 3MF package is unpacked and its model read here: Assimp passes over its unit, and ends the program on a
// package that is damaged. glTF scenes are read by Assimp and believed in nothing. It is handed none of what
// is known to be damaged before: text that is no JSON, a binary file of another length than its header
// states. Of what comes back every coordinate must be finite and every corner have a point, and the triangles
// are as many as the file states: it drops or bends what it does not like without a word. Meshes stand where
// the nodes above them place them, as often as nodes name them; a node that mirrors turns its polygons, so
// that they face outward as before. Points and lines of a scene are no part of a surface.
//
// Coordinates stay in the file's unit, which is told: metres in glTF by its definition, in 3MF what its model
// names, else millimetres. Assimp works in single precision.

namespace QELT::Inspection {

namespace {

using Json = nlohmann::json;

constexpr std::string_view binaryMark("glTF");
constexpr std::size_t binaryHeaderSize = 12;
constexpr std::size_t chunkHeaderSize = 8;

/// The text of a binary glTF file: its first chunk.
std::string_view textOfBinary(PartSource const& source) {
    std::string_view const bytes = source.bytes;
    bool const hasHeader = bytes.size() >= binaryHeaderSize + chunkHeaderSize;
    if (!hasHeader || unsignedAt<std::uint32_t>(bytes, 8, std::endian::little) != bytes.size()) {
        source.failAtByte(bytes.size(), "the file is not as long as its header states; it was cut off");
    }
    std::size_t const length = unsignedAt<std::uint32_t>(bytes, binaryHeaderSize, std::endian::little);
    if (length > bytes.size() - binaryHeaderSize - chunkHeaderSize) {
        source.failAtByte(binaryHeaderSize, "the first chunk is longer than the file");
    }
    return bytes.substr(binaryHeaderSize + chunkHeaderSize, length);
}

/// The triangles that the scene's nodes name, counted from the file's own text. Strips and fans come to two
/// fewer than corners.
class GltfCount {
public:
    explicit GltfCount(Json const& file) : document(file) {}

    std::size_t triangles() const {
        std::size_t sum = 0;
        std::size_t const scene = document.value("scene", std::size_t{0});
        for (Json const& node : document.at("scenes").at(scene).value("nodes", Json::array())) {
            sum += trianglesOfNode(node.get<std::size_t>(), 0);
        }
        return sum;
    }

private:
    static constexpr int maxDepth = 1000;

    std::size_t trianglesOfNode(std::size_t index, int depth) const {
        Json const& node = document.at("nodes").at(index);
        std::size_t sum = node.contains("mesh") ? trianglesOfMesh(node.at("mesh").get<std::size_t>()) : 0;
        if (depth < maxDepth) {
            for (Json const& child : node.value("children", Json::array())) {
                sum += trianglesOfNode(child.get<std::size_t>(), depth + 1);
            }
        }
        return sum;
    }

    std::size_t trianglesOfMesh(std::size_t index) const {
        constexpr int triangleList = 4;
        std::size_t sum = 0;
        for (Json const& primitive : document.at("meshes").at(index).at("primitives")) {
            int const mode = primitive.value("mode", triangleList);
            auto const accessor = primitive.contains("indices")
                                      ? primitive.at("indices").get<std::size_t>()
                                      : primitive.at("attributes").at("POSITION").get<std::size_t>();
            auto const corners = document.at("accessors").at(accessor).at("count").get<std::size_t>();
            if (mode == triangleList) {
                sum += corners / 3;
            } else if (mode > triangleList && corners >= 3) {
                sum += corners - 2;
            }
        }
        return sum;
    }

    Json const& document;
};

void requireCount(PartSource const& source, PartAsRead const& part, std::size_t expected) {
    if (part.polygonEnds.size() != expected) {
        source.fail("states " + counting(expected, "triangle", "triangles") + ", " +
                    std::to_string(part.polygonEnds.size()) + " could be read");
    }
}

#ifdef QELT_WITH_ASSIMP

class SceneReader {
public:
    explicit SceneReader(PartSource const& file) : source(file) {}

    PartAsRead read(char const* hint) {
        Assimp::Importer importer;
        aiScene const* const scene =
            importer.ReadFileFromMemory(source.bytes.data(), source.bytes.size(), 0, hint);
        if (scene == nullptr || scene->mRootNode == nullptr) {
            source.fail(std::string("cannot be read (") + importer.GetErrorString() + ")");
        }
        addNode(*scene, *scene->mRootNode, aiMatrix4x4());
        if (!part.isMesh()) {
            source.fail("holds no triangles");
        }
        return std::move(part);
    }

private:
    void addNode(aiScene const& scene, aiNode const& node, aiMatrix4x4 const& above) {
        aiMatrix4x4 const place = above * node.mTransformation;
        for (unsigned i = 0; i < node.mNumMeshes; ++i) {
            if (node.mMeshes[i] >= scene.mNumMeshes) {
                source.fail("a node names a mesh that is not there");
            }
            addMesh(*scene.mMeshes[node.mMeshes[i]], place);
        }
        for (unsigned i = 0; i < node.mNumChildren; ++i) {
            addNode(scene, *node.mChildren[i], place);
        }
    }

    void addMesh(aiMesh const& mesh, aiMatrix4x4 const& place) {
        std::size_t const first = part.points.size();
        if (mesh.mNumVertices > maxPartPoints - first) {
            source.fail("holds too many points");
        }
        for (unsigned i = 0; i < mesh.mNumVertices; ++i) {
            addPoint(place * mesh.mVertices[i]);
        }
        bool const isMirrored = place.Determinant() < 0;
        for (unsigned i = 0; i < mesh.mNumFaces; ++i) {
            addPolygon(mesh.mFaces[i], mesh.mNumVertices, first, isMirrored);
        }
    }

    void addPoint(aiVector3D const& point) {
        if (!std::isfinite(point.x) || !std::isfinite(point.y) || !std::isfinite(point.z)) {
            source.fail("a coordinate is not a finite number");
        }
        part.points.push_back({point.x, point.y, point.z});
    }

    void addPolygon(aiFace const& face, unsigned pointCount, std::size_t first, bool isMirrored) {
        if (face.mNumIndices < 3) {
            return;
        }
        for (unsigned i = 0; i < face.mNumIndices; ++i) {
            unsigned const corner = face.mIndices[isMirrored ? face.mNumIndices - 1 - i : i];
            if (corner >= pointCount) {
                source.fail("a triangle names point " + std::to_string(corner) + " of a mesh of " +
                            std::to_string(pointCount));
            }
            part.corners.push_back(static_cast<std::uint32_t>(first + corner));
        }
        std::string const fault = endPolygon(part);
        if (!fault.empty()) {
            source.fail(fault);
        }
    }

    PartSource const& source;
    PartAsRead part;
};

PartAsRead readScene(PartSource const& source, char const* hint) {
    return SceneReader(source).read(hint);
}

#else

[[noreturn]] PartAsRead readScene(PartSource const& source, char const*) {
    source.fail("is of a format that this build does not read, being without Assimp; export the part as STL, "
                "PLY, OFF or OBJ");
}

#endif

Json documentOf(PartSource const& source, std::string_view text) {
    Json document = Json::parse(text, nullptr, false);
    if (document.is_discarded() || !document.is_object()) {
        source.fail("is a glTF file whose text is damaged or was cut off");
    }
    return document;
}

/// Buffers in files beside the part are not looked for.
void requireAllWithin(PartSource const& source, Json const& document) {
    for (Json const& buffer : document.value("buffers", Json::array())) {
        std::string const uri = buffer.value("uri", std::string());
        if (!uri.empty() && !uri.starts_with("data:")) {
            source.fail("keeps its numbers in another file (" + quoteOf(uri) +
                        "); export it as .glb, or as glTF with its buffers embedded");
        }
    }
}

} // namespace

bool isGltfText(std::string_view bytes) {
    return bytes.find("\"asset\"") != std::string_view::npos;
}

bool isThreeMf(PartSource const& archive) {
    return archive.name.ends_with(".3mf") || archive.bytes.find("3dmodel.model") != std::string_view::npos;
}

PartAsRead readGltf(PartSource const& source) {
    bool const isBinary = source.bytes.starts_with(binaryMark);
    Json const document = documentOf(source, isBinary ? textOfBinary(source) : source.bytes);
    try {
        requireAllWithin(source, document);
        PartAsRead part = readScene(source, isBinary ? "glb" : "gltf");
        requireCount(source, part, GltfCount(document).triangles());
        part.format = PartFormat::Gltf;
        part.unit = "metre";
        return part;
    } catch (Json::exception const&) {
        source.fail("is a glTF file that lacks what its scene, nodes or meshes name");
    }
}

PartAsRead readThreeMf(PartSource const& source) {
    auto text = entryOf(source, "3D/3dmodel.model");
    text = text ? text : entryOf(source, ".model");
    if (!text) {
        source.fail("is a ZIP archive without a 3MF model; unpack it first");
    }
    PartAsRead part = readThreeMfModel(source, *text);
    part.format = PartFormat::ThreeMf;
    return part;
}

} // namespace QELT::Inspection
