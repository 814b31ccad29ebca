#pragma once

#include "Geometry/foundations/element.h"

#include <algorithm>
#include <iterator>
#include <list>
#include <memory>

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
};

} // namespace QELT
