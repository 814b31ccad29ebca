#include "tests/support/plain_tree.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <optional>
#include <set>

namespace QELT::Testing {

using Geometry::ThreeDimensional::BoundingBoxAA;
using Geometry::ThreeDimensional::Plane;
using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::Vector;

namespace {

struct Half {
    TreeObjects objects;
    BoundingBoxAA box;
};

struct Cut {
    Plane plane;
    Half up;
    Half down;
    double score = 0.0;
};

Cut cutAlong(unsigned long axis, Half const& item) {
    Point const p = item.box.getp();
    Vector const d = item.box.getd();
    Vector halfD = d;
    halfD.set(axis, d.get(axis) * 0.5);
    Vector const step(axis, d.get(axis) * 0.5);
    Cut cut;
    cut.plane = Plane(p + step, Vector(axis, 1.0));
    for (TreeObject* object : item.objects) {
        bool const isAbove = object->getIsAbove(cut.plane);
        bool const isBelow = object->getIsBelow(cut.plane);
        if (isAbove && !isBelow) {
            cut.up.objects.push_back(object);
        }
        if (!isAbove && isBelow) {
            cut.down.objects.push_back(object);
        }
    }
    cut.up.box = BoundingBoxAA(p + step, halfD);
    cut.down.box = BoundingBoxAA(p, halfD);
    cut.score =
        std::abs(static_cast<double>(cut.up.objects.size()) / static_cast<double>(item.objects.size()) - 0.5);
    return cut;
}

bool hasSameBits(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) ||
           (std::isnan(a) && std::isnan(b));
}

bool isSame(Half const& a, Half const& b) {
    for (unsigned long k = 0; k < 3; ++k) {
        if (!hasSameBits(a.box.getp().get(k), b.box.getp().get(k)) ||
            !hasSameBits(a.box.getd().get(k), b.box.getd().get(k))) {
            return false;
        }
    }
    return a.objects == b.objects;
}

/// Whether a side of the cut is the item again: then its rule cuts it again in the same way, for ever.
bool isRepeating(Cut const& cut, Half const& item) {
    return isSame(cut.up, item) || isSame(cut.down, item);
}

Cut bestCut(Half const& item) {
    Cut best = cutAlong(0, item);
    for (unsigned long axis = 1; axis < 3; ++axis) {
        Cut cut = cutAlong(axis, item);
        if (cut.score < best.score) {
            best = std::move(cut);
        }
    }
    return best;
}

bool isOneSided(Cut const& cut, Half const& item) {
    return cut.up.objects == item.objects || cut.down.objects == item.objects;
}

/// Whether the boxes of all the objects are flat and at one place along the axis.
bool isFlat(TreeObjects const& objects, unsigned long axis) {
    float const place = objects[0]->getBoundingBox().getp().get(axis);
    return std::all_of(objects.begin(), objects.end(), [&](TreeObject const* object) {
        BoundingBoxAA const box = object->getBoundingBox();
        return box.getp().get(axis) == place && box.getd().get(axis) == 0.0;
    });
}

/// Whether the cut leaves the objects together and no further one along the axis will separate them: they are
/// at one place, the plane is at the low corner however much of the extent is left, or half the extent is the
/// extent.
bool isSpent(Cut const& cut, Half const& item, unsigned long axis) {
    bool const isAtCorner = cut.plane.getp() == item.box.getp();
    bool const isExtentKept = cut.up.box.getd().get(axis) == item.box.getd().get(axis);
    return isOneSided(cut, item) && (isAtCorner || isExtentKept || isFlat(item.objects, axis));
}

class Builder {
public:
    explicit Builder(PlainTree& newTree) : tree(newTree) {}

    std::unique_ptr<PlainTreeNode> build(Half const& item, std::uint32_t depth) {
        std::optional<Cut> const cut = choose(item);
        if (!cut) {
            ++tree.chains;
            return chain(item.objects, item.box.getp(), depth);
        }
        auto node = std::make_unique<PlainTreeNode>();
        node->plane = cut->plane;
        node->up = side(cut->up, depth + 1, node.get());
        node->down = side(cut->down, depth + 1, node.get());
        return node;
    }

private:
    std::optional<Cut> choose(Half const& item) {
        Cut best = bestCut(item);
        unsigned long const bestAxis =
            best.plane.getN().getdX() == 1.0 ? 0 : (best.plane.getN().getdY() == 1.0 ? 1 : 2);
        if (item.objects.size() < 2 || !isSpent(best, item, bestAxis)) {
            return best;
        }
        tree.isByPlainRule = false;
        for (unsigned long axis = bestAxis + 1; axis < 3; ++axis) {
            Cut cut = cutAlong(axis, item);
            bool const isAnyLost = cut.up.objects.size() + cut.down.objects.size() != item.objects.size();
            if (!isAnyLost && !isSpent(cut, item, axis)) {
                return cut;
            }
        }
        return std::nullopt;
    }

    std::unique_ptr<PlainTreeNode> side(Half const& half, std::uint32_t depth, PlainTreeNode* parent) {
        std::unique_ptr<PlainTreeNode> node;
        if (half.objects.size() == 1) {
            node = leaf(half.objects[0], depth);
        }
        if (half.objects.size() >= 2) {
            node = build(half, depth);
        }
        if (node) {
            node->parent = parent;
        }
        return node;
    }

    std::unique_ptr<PlainTreeNode> leaf(TreeObject const* object, std::uint32_t depth) {
        auto node = std::make_unique<PlainTreeNode>();
        node->object = object;
        tree.depth = std::max(tree.depth, depth);
        return node;
    }

    /// The first object below, the others above, and a zero normal, which has everything above it and nothing
    /// at a known distance.
    std::unique_ptr<PlainTreeNode> chain(TreeObjects const& objects, Point const& corner,
                                         std::uint32_t depth) {
        auto node = std::make_unique<PlainTreeNode>();
        node->plane = Plane(corner, Vector());
        TreeObjects const rest(objects.begin() + 1, objects.end());
        node->down = leaf(objects[0], depth + 1);
        node->up = rest.size() == 1 ? leaf(rest[0], depth + 1) : chain(rest, corner, depth + 1);
        node->up->parent = node->down->parent = node.get();
        return node;
    }

    PlainTree& tree;
};

Half wholeOf(TreeObjects const& objects) {
    Half all{objects, objects[0]->getBoundingBox()};
    for (std::size_t i = 1; i < objects.size(); ++i) {
        all.box.expand(objects[i]->getBoundingBox());
    }
    return all;
}

} // namespace

bool plainRuleEnds(TreeObjects const& objects) {
    std::vector<Half> work = {wholeOf(objects)};
    while (!work.empty()) {
        Half const item = work.back();
        work.pop_back();
        Cut const cut = bestCut(item);
        if (item.objects.size() > 1 && isRepeating(cut, item)) {
            return false;
        }
        for (Half const& half : {cut.up, cut.down}) {
            if (half.objects.size() > 1) {
                work.push_back(half);
            }
        }
    }
    return true;
}

PlainTree plainTree(TreeObjects const& objects) {
    PlainTree tree;
    tree.root = Builder(tree).build(wholeOf(objects), 0);
    return tree;
}

namespace {

using Record = std::pair<TreeObject const*, double>;

bool hasLessDistance(Record const& a, Record const& b) {
    return a.second < b.second;
}

class PlainNeighbourSearch {
public:
    PlainNeighbourSearch(Point const& newQuery, std::uint32_t newK)
        : query(newQuery), k(newK), best(newK, {nullptr, 1e39}) {}

    std::vector<Record> run(PlainTreeNode const* root) {
        work.emplace_back(root, query.getMinMaxDistance(root->plane));
        while (!work.empty()) {
            auto const [node, distance] = work.back();
            work.pop_back();
            bool const isTooFar = !best.empty() && distance > best.front().second;
            if (!isTooFar && !visitedNodes.contains(node)) {
                trim();
                visitedNodes.insert(node);
                PlainTreeNode const* leaf = descend(node);
                take(leaf);
                walkUp(leaf);
            }
        }
        trim();
        std::vector<Record> result(k);
        for (std::uint32_t i = k; i > 0; --i) {
            result[i - 1] = best.front();
            pop();
        }
        return result;
    }

private:
    void pop() {
        std::pop_heap(best.begin(), best.end(), hasLessDistance);
        best.pop_back();
    }

    void trim() {
        while (best.size() > k) {
            pop();
        }
    }

    void take(PlainTreeNode const* leaf) {
        visitedLeaves.insert(leaf);
        best.emplace_back(leaf->object, leaf->object->getMinMaxDistance(query));
        std::push_heap(best.begin(), best.end(), hasLessDistance);
    }

    PlainTreeNode const* descend(PlainTreeNode const* node) const {
        while (node->object == nullptr) {
            bool const isUp = query.getIsAbove(node->plane);
            PlainTreeNode const* near = isUp ? node->up.get() : node->down.get();
            PlainTreeNode const* far = isUp ? node->down.get() : node->up.get();
            node = near != nullptr ? near : far;
        }
        return node;
    }

    void walkUp(PlainTreeNode const* leaf) {
        for (PlainTreeNode const* a = leaf->parent; a != nullptr; a = a->parent) {
            double const planeDistance = query.getMinMaxDistance(a->plane);
            if (!best.empty() && best.front().second < planeDistance) {
                continue;
            }
            PlainTreeNode const* far = query.getIsAbove(a->plane) ? a->down.get() : a->up.get();
            if (far == nullptr) {
                continue;
            }
            if (far->object == nullptr) {
                work.emplace_back(far, query.getMinMaxDistance(far->plane));
            } else if (!visitedLeaves.contains(far)) {
                take(far);
            }
        }
    }

    Point query;
    std::uint32_t k;
    std::vector<Record> best;
    std::vector<std::pair<PlainTreeNode const*, double>> work;
    std::set<PlainTreeNode const*> visitedNodes;
    std::set<PlainTreeNode const*> visitedLeaves;
};

} // namespace

std::vector<std::pair<TreeObject const*, double>> plainNearestInTree(PlainTree const& tree,
                                                                     Point const& query, std::uint32_t k) {
    return PlainNeighbourSearch(query, k).run(tree.root.get());
}

std::vector<double> plainNearestDistances(TreeObjects const& objects, Point const& query, std::uint32_t k) {
    std::vector<double> distances(k, 1e39);
    for (TreeObject const* object : objects) {
        distances.push_back(object->getMinMaxDistance(query));
    }
    std::sort(distances.begin(), distances.end());
    distances.resize(k);
    return distances;
}

} // namespace QELT::Testing
