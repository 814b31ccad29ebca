#include "tests/support/plain_flattening.h"

#include "tests/support/plain_linearalgebra.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <map>
#include <stdexcept>
#include <utility>

namespace QELT::Testing::PlainFlattening {

namespace {

using MeshEdge = PlainMesh::PlainEdge;

/// The value goes through memory as a float, so that no optimiser keeps more of it.
float single(double value) {
    float volatile narrowed = static_cast<float>(value);
    return narrowed;
}

Direction fromTo(Place const& from, Place const& to) {
    Direction way{};
    for (std::size_t k = 0; k < 3; ++k) {
        float const volatile difference = to[k] - from[k];
        way[k] = static_cast<double>(difference);
    }
    return way;
}

double dot(Direction const& a, Direction const& b) {
    return (a[1] * b[1] + a[0] * b[0]) + a[2] * b[2];
}

Direction cross(Direction const& a, Direction const& b) {
    return {a[1] * b[2] - a[2] * b[1], b[0] * a[2] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double length(Direction const& a) {
    return std::sqrt(dot(a, a));
}

double singleSquaredDistance(Place const& a, Place const& b) {
    Direction const way = fromTo(b, a);
    float const x = single(way[0] * way[0]);
    float const y = single(way[1] * way[1]);
    float const z = single(way[2] * way[2]);
    float const volatile yx = y + x;
    float const volatile sum = yx + z;
    return static_cast<double>(sum);
}

Place originPlace(PlainMesh const& mesh, MeshEdge const& e) {
    return placeOf(mesh, mesh.org(e));
}

Place destinationPlace(PlainMesh const& mesh, MeshEdge const& e) {
    return placeOf(mesh, mesh.dest(e));
}

} // namespace

Place placeOf(PlainMesh const& mesh, std::size_t vertex) {
    auto const& point = mesh.vertices[vertex].point;
    return {point.getX(), point.getY(), point.getZ()};
}

Flat flatOf(PlainMesh const& mesh, std::size_t vertex) {
    auto const& point = mesh.vertices[vertex].flatPoint;
    return {point.getU(), point.getV()};
}

Direction normalOf(PlainMesh const& mesh, std::size_t vertex) {
    auto const& normal = mesh.vertices[vertex].normal;
    return {normal.getdX(), normal.getdY(), normal.getdZ()};
}

std::vector<Flat> flatsOf(PlainMesh const& mesh) {
    std::vector<Flat> flats;
    for (std::size_t v = 0; v < mesh.vertices.size(); ++v) {
        flats.push_back(flatOf(mesh, v));
    }
    return flats;
}

void setFlats(PlainMesh& mesh, std::vector<Flat> const& flats) {
    for (std::size_t v = 0; v < mesh.vertices.size(); ++v) {
        mesh.vertices[v].flatPoint = {flats.at(v)[0], flats.at(v)[1]};
    }
}

void Report::message(std::string const& text) {
    if (isListening) {
        events.push_back(text);
    }
}

void Report::percentage(std::uint64_t value) {
    if (isListening) {
        events.push_back(std::to_string(value) + "%");
    }
}

namespace {

using Loop = std::vector<std::uint32_t>;

Loop walkLoop(PlainMesh const& mesh, std::uint32_t start, std::vector<bool>& bits) {
    Loop loop;
    MeshEdge e = mesh.arbitraryEdge(start);
    do {
        std::uint32_t const v = mesh.org(e);
        // Met before, or by another of its fans than the one it is known by.
        if (bits.at(v) || !mesh.isBoundaryVertex(v)) {
            throw std::runtime_error("Mesh boundary is not manifold");
        }
        bits[v] = true;
        loop.push_back(v);
        while (!mesh.isBoundary(e)) {
            e = mesh.oprev(e);
        }
        e = mesh.rot(e);
    } while (mesh.org(e) != start);
    return loop;
}

struct CornerTable {
    static constexpr std::size_t size = 16384;
    std::vector<double> keys = std::vector<double>(size, 1.7976931348623157e308);
    std::vector<std::uint32_t> positions = std::vector<std::uint32_t>(size, 0);

    void offer(double key, std::uint32_t position) {
        if (!(key < keys[size - 1])) {
            return;
        }
        std::size_t place = 0;
        while (keys[place] < key) {
            ++place;
        }
        for (std::size_t k = size - 1; k > place; --k) {
            keys[k] = keys[k - 1];
            positions[k] = positions[k - 1];
        }
        keys[place] = key;
        positions[place] = position;
    }
};

double turnCosine(Place const& a, Place const& b, Place const& c) {
    Direction const in = fromTo(a, b);
    Direction const out = fromTo(b, c);
    return dot(in, out) / std::sqrt(dot(in, in) * dot(out, out));
}

void pinTwoCorners(PlainMesh const& mesh, Loop& loop) {
    CornerTable table;
    auto const n = static_cast<std::uint32_t>(loop.size());
    for (std::uint32_t j = 0; j < n; ++j) {
        table.offer(turnCosine(placeOf(mesh, loop[j]), placeOf(mesh, loop[(j + 1) % n]),
                               placeOf(mesh, loop[(j + 2) % n])),
                    (j + 1) % n);
    }
    std::size_t corners = 0;
    while (corners < CornerTable::size && table.keys[corners] < 0.17364817766693036) {
        ++corners;
    }
    std::uint32_t firstPin = 0;
    std::uint32_t secondPin = 2;
    double best = 0.0;
    for (std::size_t i = 0; i < corners; ++i) {
        for (std::size_t j = 0; j < corners; ++j) {
            double const d = singleSquaredDistance(placeOf(mesh, loop[table.positions[i]]),
                                                   placeOf(mesh, loop[table.positions[j]]));
            if (d > best) {
                best = d;
                firstPin = table.positions[j];
                secondPin = table.positions[i];
            }
        }
    }
    std::swap(loop.at(n - 2), loop.at(firstPin));
    std::swap(loop.at(n - 1), loop.at(secondPin));
}

void renumber(PlainMesh& mesh, std::vector<std::uint32_t> const& newIndex) {
    for (auto& triangle : mesh.triangles) {
        for (std::uint32_t& vertex : triangle.vertices) {
            vertex = newIndex.at(vertex);
        }
    }
    PlainMesh const old = mesh;
    for (std::size_t i = 0; i < newIndex.size(); ++i) {
        mesh.vertices[newIndex[i]] = old.vertices[i];
        mesh.incidence[newIndex[i]] = old.incidence[i];
    }
    for (auto* list : {&mesh.cut.first, &mesh.cut.second}) {
        for (std::uint32_t& vertex : *list) {
            vertex = newIndex.at(vertex);
        }
    }
}

} // namespace

Counts promoteInterior(PlainMesh& mesh, bool pinCorners) {
    auto const total = static_cast<std::uint32_t>(mesh.vertices.size());
    std::vector<bool> bits(total, false);
    std::vector<std::uint32_t> interior;
    std::vector<Loop> loops;
    for (std::uint32_t v = 0; v < total; ++v) {
        if (bits[v]) {
            continue;
        }
        if (!mesh.isBoundaryVertex(v)) {
            bits[v] = true;
            interior.push_back(v);
        } else {
            loops.push_back(walkLoop(mesh, v, bits));
        }
    }
    if (loops.empty()) {
        throw std::runtime_error("Mesh has no boundary");
    }
    std::size_t longest = 0;
    for (std::size_t k = 1; k < loops.size(); ++k) {
        if (loops[k].size() > loops[longest].size()) {
            longest = k;
        }
    }
    std::swap(loops[longest], loops.back());
    if (pinCorners) {
        pinTwoCorners(mesh, loops.back());
    }
    std::vector<std::uint32_t> newIndex(total, 0xFFFFFFFFU);
    std::uint32_t next = 0;
    for (std::uint32_t v : interior) {
        newIndex.at(v) = next++;
    }
    for (Loop const& loop : loops) {
        for (std::uint32_t v : loop) {
            newIndex.at(v) = next++;
        }
    }
    renumber(mesh, newIndex);
    return {static_cast<std::uint32_t>(interior.size()), static_cast<std::uint32_t>(loops.back().size())};
}

namespace {

/// A matrix under assembly.
struct Assembly {
    std::vector<std::map<std::uint32_t, double>> rows;

    void accumulate(std::uint32_t r, std::uint32_t c, double v) {
        auto& row = rows.at(r);
        auto const found = row.find(c);
        double const before = found == row.end() ? 0.0 : found->second;
        row[c] = before + v;
    }

    Rows getRows() const {
        Rows result;
        for (auto const& row : rows) {
            std::vector<Entry> entries;
            for (auto const& [column, value] : row) {
                entries.push_back({column, value});
            }
            result.push_back(entries);
        }
        return result;
    }
};

std::vector<double> product(Rows const& a, std::vector<double> const& x) {
    std::vector<double> result;
    for (auto const& row : a) {
        double sum = 0.0;
        for (Entry const& entry : row) {
            sum += x[entry.column] * entry.value;
        }
        result.push_back(sum);
    }
    return result;
}

std::string progressLine(double residual, std::uint32_t iterations) {
    std::array<char, 128> line{};
    int const size =
        std::snprintf(line.data(), line.size(), "\rResidual L2 norm: %g.  Iterations to Max. 262144: %g.  ",
                      residual, static_cast<double>(iterations));
    return {line.data(), static_cast<std::size_t>(size)};
}

PlainLinearAlgebra::Matrix toMatrix(Rows const& a) {
    auto const order = static_cast<std::uint32_t>(a.size());
    PlainLinearAlgebra::Matrix matrix(order, order);
    for (std::size_t r = 0; r < a.size(); ++r) {
        for (Entry const& entry : a[r]) {
            matrix.rows[r].columns.push_back(entry.column);
            matrix.rows[r].values.push_back(entry.value);
        }
    }
    return matrix;
}

} // namespace

Solve solve(Rows const& a, std::vector<double>& x, std::vector<double> const& b, Report& report) {
    report.message("Solving linear system...");
    PlainLinearAlgebra::Solution const solution = PlainLinearAlgebra::solve(toMatrix(a), x, b);
    if (report.isListening) {
        for (std::size_t k = 0; k < solution.norms.size(); ++k) {
            report.output += progressLine(solution.norms[k], static_cast<std::uint32_t>(k + 1));
        }
    }
    x = solution.x;
    return {solution.isSolved, static_cast<std::uint32_t>(solution.iterations)};
}

namespace {

constexpr Flat firstPinPlace{0.5, 1.0};
constexpr Flat secondPinPlace{1.0, 0.5};

Flat leftTurned(Flat const& a) {
    return {-a[1], a[0]};
}

Flat way(Flat const& from, Flat const& to) {
    return {to[0] - from[0], to[1] - from[1]};
}

double dot(Flat const& a, Flat const& b) {
    return a[0] * b[0] + a[1] * b[1];
}

double cornerAngle(PlainMesh const& mesh, MeshEdge const& e) {
    Place const po = originPlace(mesh, e);
    Direction const toD = fromTo(po, destinationPlace(mesh, e));
    Direction const toA = fromTo(po, destinationPlace(mesh, mesh.rot(e)));
    return std::atan2(length(cross(toD, toA)), dot(toD, toA));
}

double sideLength(PlainMesh const& mesh, MeshEdge const& e) {
    return length(fromTo(originPlace(mesh, e), destinationPlace(mesh, e)));
}

/// A walk round a vertex that should meet a boundary side within all sides of the mesh.
template <class Condition, class Step>
MeshEdge walkUntil(PlainMesh const& mesh, MeshEdge e, Condition condition, Step step) {
    for (std::size_t limit = 3 * mesh.triangles.size() + 1; !condition(e); e = step(e)) {
        if (limit-- == 0) {
            throw std::logic_error("the fan is closed");
        }
    }
    return e;
}

struct Chain {
    std::array<Flat, 5> local{};
    double segment = 0.0;
    double turn = 3.141592653589793;
    Flat axisA{1.0, 0.0};
    Flat axisB{0.0, 1.0};

    Flat extend(std::size_t k) {
        double const c = std::cos(turn);
        double const s = std::sin(turn);
        Flat const step{-segment * (c * axisA[0] + s * axisB[0]), -segment * (c * axisA[1] + s * axisB[1])};
        local[k + 1] = {local[k][0] + step[0], local[k][1] + step[1]};
        return step;
    }

    void reframe(Flat const& step) {
        double const size = std::sqrt(dot(step, step));
        Flat const u{step[0] / size, step[1] / size};
        axisA = u;
        axisB = {u[1], -u[0]};
    }
};

/// Develops five vertices of the boundary, given by index.
std::array<Flat, 5> develop(PlainMesh const& mesh, std::array<std::uint32_t, 5> const& stencil) {
    Chain chain;
    MeshEdge e = walkUntil(
        mesh, mesh.arbitraryEdge(stencil[0]), [&](MeshEdge const& s) { return mesh.isBoundary(s); },
        [&](MeshEdge const& s) { return mesh.oprev(s); });
    chain.segment = sideLength(mesh, e);
    for (std::size_t k = 0; k < 3; ++k) {
        Flat const step = chain.extend(k);
        e = walkUntil(
            mesh, mesh.arbitraryEdge(stencil[k + 1]),
            [&](MeshEdge const& s) { return mesh.isBoundary(mesh.rot(mesh.rot(s))); },
            [&](MeshEdge const& s) { return mesh.onext(s); });
        chain.turn = 0.0;
        MeshEdge last;
        while (e.triangle != PlainMesh::none) {
            chain.turn += cornerAngle(mesh, e);
            last = e;
            MeshEdge const beyond = mesh.sym(e);
            e = beyond.triangle == PlainMesh::none ? MeshEdge{} : mesh.rot(beyond);
        }
        chain.segment = sideLength(mesh, last);
        chain.reframe(step);
    }
    chain.extend(3);
    return chain.local;
}

struct Shape {
    double a;
    double b;
};

Shape shapeOf(Flat const& d, Flat const& w) {
    return {dot(w, d) / dot(d, d), dot(w, leftTurned(d)) / dot(d, d)};
}

struct Member {
    bool isUnknown = true;
    std::uint32_t unknown = 0;
    Flat prescribed{};
};

/// The rolled-out boundary as a least-squares problem.
struct BoundaryProblem {
    std::uint32_t n;
    std::uint32_t firstPin;
    std::uint32_t secondPin;
    std::vector<std::uint32_t> unknowns;
    Assembly system;
    std::vector<double> rhs;

    explicit BoundaryProblem(std::uint32_t size)
        : n(size), firstPin(size < 128 ? 0 : size - 128), secondPin(size < 128 ? 1 : size - 127) {
        for (std::uint32_t p = 0; p < n; ++p) {
            if (p != firstPin && p != secondPin) {
                unknowns.push_back(p);
            }
        }
        system.rows.resize(4 * unknowns.size());
        rhs.assign(4 * unknowns.size(), 0.0);
    }

    std::uint32_t m() const { return static_cast<std::uint32_t>(unknowns.size()); }

    Member member(std::uint32_t c, std::uint32_t j) const {
        std::uint32_t const p = (n - 2 + unknowns[c] + j) % n;
        if (p == firstPin) {
            return {false, 0, firstPinPlace};
        }
        if (p == secondPin) {
            return {false, 0, secondPinPlace};
        }
        std::uint32_t const q = (j + c + m() - 2) % m();
        if (unknowns[q] != p) {
            throw std::logic_error("the unknown's number does not name its position");
        }
        return {true, q, {}};
    }

    void addPlain(std::uint32_t row, Member const& who, double factor) {
        if (who.isUnknown) {
            system.accumulate(row, 2 * who.unknown, factor);
            system.accumulate(row + 1, 2 * who.unknown + 1, factor);
        } else {
            rhs[row] += -factor * who.prescribed[0];
            rhs[row + 1] += -factor * who.prescribed[1];
        }
    }

    void addTurned(std::uint32_t row, Member const& who, double factor) {
        if (who.isUnknown) {
            system.accumulate(row, 2 * who.unknown + 1, -factor);
            system.accumulate(row + 1, 2 * who.unknown, factor);
        } else {
            rhs[row] += factor * who.prescribed[1];
            rhs[row + 1] += -factor * who.prescribed[0];
        }
    }

    void addSide(std::uint32_t side, std::uint32_t c, Shape const& shape) {
        std::uint32_t const row = 2 * (side + 2 * c);
        Member const centre = member(c, 2);
        Member const near = member(c, side == 0 ? 3 : 1);
        Member const far = member(c, side == 0 ? 4 : 0);
        if (!centre.isUnknown) {
            throw std::runtime_error("Boundary flattening internal failure");
        }
        addPlain(row, centre, -1.0);
        addPlain(row, near, 1.0 + shape.a);
        addPlain(row, far, -shape.a);
        addTurned(row, near, shape.b);
        addTurned(row, far, -shape.b);
    }
};

Rows transposed(Rows const& a, std::size_t columns) {
    Rows result(columns);
    for (std::uint32_t r = 0; r < a.size(); ++r) {
        for (Entry const& entry : a[r]) {
            result[entry.column].push_back({r, entry.value});
        }
    }
    return result;
}

/// Every entry of the product is stored, also where nothing met.
Rows fullProduct(Rows const& a, Rows const& b, std::uint32_t columns) {
    Rows result;
    for (auto const& row : a) {
        std::vector<double> sums(columns, 0.0);
        for (std::uint32_t j = 0; j < columns; ++j) {
            for (Entry const& entry : row) {
                for (Entry const& other : b[entry.column]) {
                    if (other.column == j) {
                        sums[j] += entry.value * other.value;
                    }
                }
            }
        }
        std::vector<Entry> entries;
        for (std::uint32_t j = 0; j < columns; ++j) {
            entries.push_back({j, sums[j]});
        }
        result.push_back(entries);
    }
    return result;
}

BoundaryProblem assembleBoundary(PlainMesh const& mesh, std::uint32_t n) {
    BoundaryProblem problem(n);
    auto const base = static_cast<std::uint32_t>(mesh.vertices.size()) - n;
    for (std::uint32_t c = 0; c < problem.m(); ++c) {
        std::array<std::uint32_t, 5> stencil{};
        for (std::uint32_t j = 0; j < 5; ++j) {
            stencil[j] = base + (n - 2 + problem.unknowns[c] + j) % n;
        }
        std::array<Flat, 5> const local = develop(mesh, stencil);
        problem.addSide(0, c, shapeOf(way(local[4], local[3]), way(local[3], local[2])));
        problem.addSide(1, c, shapeOf(way(local[0], local[1]), way(local[1], local[2])));
    }
    return problem;
}

} // namespace

Problem boundaryProblem(PlainMesh const& mesh, std::uint32_t n) {
    BoundaryProblem const problem = assembleBoundary(mesh, n);
    return {problem.system.getRows(), problem.rhs};
}

std::vector<Flat> boundaryPlaces(std::uint32_t n, std::vector<double> const& solution) {
    BoundaryProblem const problem(n);
    std::vector<Flat> places(n);
    for (std::uint32_t q = 0; q < problem.m(); ++q) {
        places[problem.unknowns[q]] = {solution[2 * q], solution[2 * q + 1]};
    }
    places[problem.firstPin] = firstPinPlace;
    places[problem.secondPin] = secondPinPlace;
    return places;
}

std::vector<Flat> developableBoundary(PlainMesh const& mesh, std::uint32_t n, Report& report,
                                      std::uint32_t& iterations) {
    if (n < 5) {
        throw std::runtime_error("Boundary flattening internal failure");
    }
    BoundaryProblem const problem = assembleBoundary(mesh, n);
    Rows const system = problem.system.getRows();
    Rows const flipped = transposed(system, 2 * problem.m());
    std::vector<double> solution(2 * problem.m(), 0.0);
    iterations =
        solve(fullProduct(flipped, system, 2 * problem.m()), solution, product(flipped, problem.rhs), report)
            .iterations;
    return boundaryPlaces(n, solution);
}

namespace {

struct Box {
    Flat corner{};
    Flat extent{};

    void grow(Flat const& p) {
        for (std::size_t k = 0; k < 2; ++k) {
            double high = corner[k] + extent[k];
            double const otherHigh = p[k] + 0.0;
            if (otherHigh > high) {
                high = otherHigh;
            }
            if (p[k] < corner[k]) {
                corner[k] = p[k];
            }
            extent[k] = high - corner[k];
        }
    }
};

Box boxOf(std::vector<Flat> const& points) {
    Box box{points.at(0), {0.0, 0.0}};
    for (Flat const& p : points) {
        box.grow(p);
    }
    return box;
}

std::vector<Flat> turned(std::vector<Flat> const& points, std::uint32_t step) {
    double const angle = step * 1.5707963267948966 * 0.000244140625;
    double const c = std::cos(angle);
    double const s = std::sin(angle);
    std::vector<Flat> result;
    for (Flat const& p : points) {
        result.push_back({p[0] * c + p[1] * s, -p[0] * s + p[1] * c});
    }
    return result;
}

} // namespace

std::uint32_t orient(PlainMesh& mesh, Report& report) {
    std::vector<Flat> const start = flatsOf(mesh);
    double bestArea = 1e21;
    std::uint32_t bestStep = 0;
    report.message("Starting C-scan orientation calculation...");
    std::uint32_t lastPercentage = 0;
    for (std::uint32_t i = 0; i < 4096; ++i) {
        Box const box = boxOf(turned(start, i));
        double const area = std::fabs(box.extent[0] * box.extent[1]);
        if (area < bestArea || i == 0) {
            bestArea = area;
            bestStep = std::fabs(box.extent[0]) > std::fabs(box.extent[1]) ? i : i + 4096;
        }
        std::uint32_t const percentage = ((i * 100) >> 12) + 1;
        if (percentage != lastPercentage) {
            report.percentage(percentage);
            lastPercentage = percentage;
        }
    }
    std::vector<Flat> flats = turned(start, bestStep);
    Flat const low = boxOf(flats).corner;
    for (Flat& p : flats) {
        p = {p[0] - low[0], p[1] - low[1]};
    }
    setFlats(mesh, flats);
    return bestStep;
}

namespace {

/// The system of the free vertices.
struct MapProblem {
    PlainMesh const& mesh;
    std::uint32_t freeCount;
    std::vector<Flat> fixed;
    Assembly matrix;
    std::vector<double> rhs;

    bool isFree(std::uint32_t v) const { return v < freeCount; }

    void addLaplace(std::uint32_t i, std::uint32_t other, double cotangent, std::uint32_t k) {
        if (isFree(other)) {
            matrix.accumulate(2 * i + k, 2 * other + k, -0.5 * cotangent);
        } else {
            rhs[2 * i + k] += 0.5 * cotangent * fixed.at(other - freeCount)[k];
        }
    }

    /// `sign` is +1 for the vertex that follows i in the triangle, -1 for the one before it.
    void addConformal(std::uint32_t i, std::uint32_t other, double sign) {
        if (isFree(other)) {
            matrix.accumulate(2 * i, 2 * other + 1, sign * -0.5);
            matrix.accumulate(2 * i + 1, 2 * other, sign * 0.5);
        } else {
            Flat const& p = fixed.at(other - freeCount);
            rhs[2 * i] += sign * 0.5 * p[1];
            rhs[2 * i + 1] += sign * -0.5 * p[0];
        }
    }

    void addTriangle(std::uint32_t i, MeshEdge const& e, bool isBoundary) {
        std::uint32_t const d = mesh.dest(e);
        std::uint32_t const a = mesh.dest(mesh.rot(e));
        Place const po = originPlace(mesh, e);
        Place const pd = placeOf(mesh, d);
        Place const pa = placeOf(mesh, a);
        double const twoArea = length(cross(fromTo(pa, po), fromTo(po, pd)));
        double const cotD = -(dot(fromTo(po, pd), fromTo(pd, pa))) / twoArea;
        double const cotA = -(dot(fromTo(pd, pa), fromTo(pa, po))) / twoArea;
        for (std::uint32_t k = 0; k < 2; ++k) {
            matrix.accumulate(2 * i + k, 2 * i + k, 0.5 * (cotA + cotD));
            addLaplace(i, d, cotA, k);
            addLaplace(i, a, cotD, k);
        }
        if (isBoundary) {
            addConformal(i, d, 1.0);
            addConformal(i, a, -1.0);
        }
    }

    void addFan(std::uint32_t i) {
        bool const isBoundary = mesh.isBoundaryVertex(i);
        MeshEdge first = mesh.arbitraryEdge(i);
        while (isBoundary && !mesh.isBoundary(first)) {
            first = mesh.oprev(first);
        }
        MeshEdge e = first;
        do {
            addTriangle(i, e, isBoundary);
            e = mesh.onext(e);
        } while (e.triangle != PlainMesh::none && e != first);
    }
};

} // namespace

Problem insideProblem(PlainMesh const& mesh, std::vector<Flat> const& fixed) {
    auto const freeCount = static_cast<std::uint32_t>(mesh.vertices.size() - fixed.size());
    MapProblem problem{mesh, freeCount, fixed, {}, std::vector<double>(2 * freeCount, 0.0)};
    problem.matrix.rows.resize(2 * freeCount);
    for (std::uint32_t i = 0; i < freeCount; ++i) {
        problem.addFan(i);
    }
    return {problem.matrix.getRows(), problem.rhs};
}

Outcome conformalMap(PlainMesh const& mesh, bool pinCorners, std::vector<double> const* start,
                     bool isListening) {
    Outcome outcome;
    outcome.mesh = mesh;
    outcome.report.isListening = isListening;
    Report& report = outcome.report;
    report.message("Promoting interior...");
    Counts const counts = promoteInterior(outcome.mesh, pinCorners);
    auto const total = static_cast<std::uint32_t>(mesh.vertices.size());
    std::uint32_t const freeCount = pinCorners ? total - 2 : total - counts.mainLoop;
    outcome.solution = start != nullptr ? *start : std::vector<double>(2 * freeCount, 0.0);
    std::vector<Flat> fixed{firstPinPlace, secondPinPlace};
    if (!pinCorners) {
        report.message("Least-squares developable boundary unwrapping...");
        std::uint32_t iterations = 0;
        fixed = developableBoundary(outcome.mesh, counts.mainLoop, report, iterations);
        outcome.iterations.push_back(iterations);
    }
    report.message("Constructing order " + std::to_string(2 * freeCount) + " Laplace-Beltrami matrix...");
    MapProblem problem{outcome.mesh, freeCount, fixed, {}, std::vector<double>(2 * freeCount, 0.0)};
    problem.matrix.rows.resize(2 * freeCount);
    std::uint32_t lastPercentage = 0;
    for (std::uint32_t i = 0; i < freeCount; ++i) {
        problem.addFan(i);
        std::uint32_t const percentage = i * 100 / freeCount + 1;
        if (percentage != lastPercentage) {
            report.percentage(percentage);
            lastPercentage = percentage;
        }
    }
    Solve const solved = solve(problem.matrix.getRows(), outcome.solution, problem.rhs, report);
    outcome.iterations.push_back(solved.iterations);
    outcome.converged = solved.converged;
    report.output += solved.converged ? "\n" : "\nLinear system solve failure - carrying on...";
    std::vector<Flat> flats;
    for (std::uint32_t v = 0; v < total; ++v) {
        flats.push_back(v < freeCount ? Flat{outcome.solution[2 * v], outcome.solution[2 * v + 1]}
                                      : fixed.at(v - freeCount));
    }
    setFlats(outcome.mesh, flats);
    orient(outcome.mesh, report);
    return outcome;
}

} // namespace QELT::Testing::PlainFlattening
