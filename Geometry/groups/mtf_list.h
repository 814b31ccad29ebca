#pragma once

#include "Geometry/foundations/element.h"

#include <algorithm>
#include <iterator>
#include <list>
#include <memory>

// The rule "move to front" of self-organising lists (McCabe, "On Serial Files with Relocatable Records",
// 1965): what was found goes to the front, all before it back by one. For requests that come in runs, as the
// beams of a scan do, the next search finds its element at once; elements far behind cost nothing.
//
// `move_to_front` looks for the first equal element, puts a copy at the front and erases the old node: a copy
// and not a splice, so that the value need not come from the list. Cost: linear in the place found, and an
// allocation. Odd on purpose: a value that is not in the list is put at the front all the same; the copy is
// made before the old node goes, since it may throw and the value may be that node's; equal elements further
// back stay. Places are counted in 32 bits. `bring_to_front` gives the same order for a value of the list's
// own: there the node can be relinked, and none is made.

namespace QELT {

/// A list that can bring an element to its front, so that what was used last is found first.
template <class T, class Alloc = std::allocator<T>>
class mtf_list : public std::list<T, Alloc> {
public:
    using std::list<T, Alloc>::list;

    mtf_list() = default;
    mtf_list(mtf_list const&) = default;
    mtf_list& operator=(mtf_list const&) = default;

    virtual ~mtf_list() { this->clear(); }

    /// Puts a copy of `value` at the front and takes the first element equal to it out of its place, so that
    /// iterators to that one become invalid; `value` may refer to it. The result is the place at which it
    /// was, or the former size if there was none and the list grew by one. Without memory for the copy it
    /// throws and leaves the list as it was.
    unsigned long move_to_front(T const& value) {
        auto const found = std::find(this->begin(), this->end(), value);
        auto const place = static_cast<std::uint32_t>(std::distance(this->begin(), found));
        this->push_front(value); // first, since it may throw, and `value` may be the element found
        if (found != this->end()) {
            this->erase(found);
        }
        return place;
    }

    /// Brings the first element equal to that at `place` to the front, as `move_to_front` of its value does,
    /// but the element itself: no copy, no memory, and iterators stay valid.
    void bring_to_front(typename std::list<T, Alloc>::const_iterator place) {
        if (place != this->cbegin()) {
            this->splice(this->cbegin(), *this, std::find(this->cbegin(), place, *place));
        }
    }
};

} // namespace QELT
