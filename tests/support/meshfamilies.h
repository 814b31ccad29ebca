#pragma once

#include "Geometry/trimesh/mesh.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace QELT::Testing {

/// A triangulated surface as plain indexed faces: what a mesh file holds.
struct Soup {
    std::vector<std::array<double, 3>> points;
    std::vector<std::array<std::uint32_t, 3>> faces;
};

/// A soup with a name for test output.
struct NamedSoup {
    std::string name;
    Soup soup;
};

// Surfaces. All faces are wound consistently, and each surface hangs together over shared sides unless its
// comment says otherwise.

/// `columns` x `rows` squares of the plane z = 0, two triangles each, over [0, width] x [0, height]. Vertex
/// (i, j) has the index j * (columns + 1) + i; normals point to +z.
Soup makeGridPatch(std::uint32_t columns, std::uint32_t rows, double width = 1.0, double height = 1.0);

/// The grid patch of the unit square, lifted to a smooth wave of that height.
Soup makeWavyPatch(std::uint32_t columns, std::uint32_t rows, double waveHeight = 0.2);

/// A quarter of a cylinder over its axis z: the grid patch of (quarter arc) x `height`, rolled up.
Soup makeQuarterCylinder(std::uint32_t columns, std::uint32_t rows, double radius = 1.0, double height = 1.0);

/// The regular tetrahedron of four vertices, closed, wound outward.
Soup makeTetrahedron();

/// A closed sphere: the octahedron with every face split in four `subdivisions` times.
Soup makeSphere(std::uint32_t subdivisions, double radius = 1.0);

/// A spherical cap of that half opening angle around +z: an apex (vertex 0) and `rings` of `segments`
/// vertices.
Soup makeCap(std::uint32_t rings, std::uint32_t segments, double radius = 1.0, double openingAngle = 1.0);

/// A flat disc of the same structure as the cap.
Soup makeDisc(std::uint32_t rings, std::uint32_t segments, double radius = 1.0);

/// A wavy patch of n x n squares (n >= 5) with one hole in its middle.
Soup makePatchWithHole(std::uint32_t n);

/// A wavy patch of n x n squares (n >= 5) with a hole of one square at every other odd place.
Soup makePatchWithManyHoles(std::uint32_t n);

/// A tube around the axis z, open at both ends.
Soup makeTube(std::uint32_t segments, std::uint32_t rings, double radius = 1.0, double height = 2.0);

/// One row of `length` squares in the plane, as a zigzag of triangles: every vertex is on the boundary.
Soup makeStrip(std::uint32_t length);

/// A patch whose squares are `aspect` times as long as they are wide, cut along the diagonal, and slightly
/// curved: all triangles are slivers.
Soup makeSliverPatch(std::uint32_t columns, std::uint32_t rows, double aspect = 1.0e4);

/// A wavy patch in which one inner row of vertices has been moved onto the row below it: the faces between
/// the two have no area.
Soup makePatchWithZeroAreaFaces(std::uint32_t n);

/// Two patches that share no vertex.
Soup makeTwoComponents();

/// Two triangles that meet in one vertex only.
Soup makeBowTie();

/// Eight faces that hang together and meet themselves in points so often that all three vertices of one face
/// list other fans. Its seven vertices stand behind `unused` others.
Soup makeSurfaceMeetingItself(std::uint32_t unused);

/// A patch of 12 x 12 squares with one face that is bent back to three inner vertices far away. All fans are
/// closed there, and the vertices of that face list those that they had before.
Soup makePatchMeetingItself();

// Changes to a soup. Seeded ones give the same result on every run and platform.

Soup withShuffledFaces(Soup soup, std::uint32_t seed);

/// Every face starts at a random one of its vertices; the winding stays.
Soup withRotatedFaceStarts(Soup soup, std::uint32_t seed);

/// A random renumbering of the vertices.
Soup withShuffledVertices(Soup soup, std::uint32_t seed);

/// Vertices without a face, at random places of the list.
Soup withUnusedVertices(Soup soup, std::uint32_t count, std::uint32_t seed);

/// `count` randomly chosen faces appear a second time, at the end of the list.
Soup withDuplicateFaces(Soup soup, std::uint32_t count, std::uint32_t seed);

Soup withReversedWinding(Soup soup);

/// Every coordinate moved by a uniform random number in [-amplitude, amplitude].
Soup withNoise(Soup soup, double amplitude, std::uint32_t seed);

Soup translated(Soup soup, double x, double y, double z);
Soup scaled(Soup soup, double factor);

/// The soup without the vertices that no face uses.
Soup withoutUnusedVertices(Soup const& soup);

/// Both soups, the indices of the second behind those of the first.
Soup joined(Soup first, Soup const& second);

// Families to run a test over.

/// Small surfaces of every kind above that a mesh file can hold and load, in orderly and in shuffled form:
/// open and closed, with holes, slivers, zero areas, unused vertices, a huge offset, a tiny scale, noise.
std::vector<NamedSoup> loadableFamilies();

/// Those of them that have a boundary, no zero-area face and no unused vertex.
std::vector<NamedSoup> openFamilies();

/// Soups that no mesh file can hold: two components, a bow tie, faces given twice, inconsistent winding,
/// three faces at one side, a closed surface with a face too many.
std::vector<NamedSoup> unloadableFamilies();

// Files.

/// A path in the directory for temporary files that no other test of any process uses.
std::string makeTemporaryPath(std::string const& stem, std::string const& extension);

/// A directory of its own, removed with all its contents at the end.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    TemporaryDirectory(TemporaryDirectory const&) = delete;
    TemporaryDirectory& operator=(TemporaryDirectory const&) = delete;
    ~TemporaryDirectory();

    /// Without a separator at its end.
    std::string const& path() const { return directory; }

    std::string file(std::string const& name) const { return directory + "/" + name; }

private:
    std::string directory;
};

void writeText(std::string const& path, std::string const& text);

/// Empty if there is no such file.
std::string readText(std::string const& path);

/// The soup as OBJ text: "v" records with all digits needed to get the same doubles back, then "f" records.
std::string objText(Soup const& soup);

void writeObj(std::string const& path, Soup const& soup);

/// Loads the soup into `mesh` by way of a temporary OBJ file. Throws what `Mesh::load` throws.
void loadSoup(Geometry::ThreeDimensional::TriMesh::Mesh& mesh, Soup const& soup);
std::unique_ptr<Geometry::ThreeDimensional::TriMesh::Mesh> makeMesh(Soup const& soup);

} // namespace QELT::Testing
