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
    /// was, or the former size if there was none and the list grew by one.
    unsigned long move_to_front(T const& value) {
        T const copy = value;
        auto const found = std::find(this->begin(), this->end(), copy);
        auto const place = static_cast<std::uint32_t>(std::distance(this->begin(), found));
        if (found != this->end()) {
            this->erase(found);
        }
        this->push_front(copy);
        return place;
    }
};

} // namespace QELT
