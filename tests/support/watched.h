#pragma once

namespace QELT::Testing {

/// Whether a sanitizer watches. All takes many times as long then, and the same tests run unwatched as well:
/// repeated work of one kind, such as samples and steps of a descent, may be less.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isWatched = true;
#elif defined(__has_feature)
constexpr bool isWatched = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool isWatched = false;
#endif

/// A number of samples, and how many of them are enough under a sanitizer.
constexpr int samples(int count, int watchedCount) {
    return isWatched ? watchedCount : count;
}

} // namespace QELT::Testing
