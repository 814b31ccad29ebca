// Usage: picture_check FILE.png...
// Fails unless every file is a PNG image that shows something: of some size, with several colours, none of
// which covers nearly all of it.

#include <png.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr std::uint32_t smallestSide = 64;
constexpr std::size_t minColours = 8;
constexpr double largestShare = 0.995;

struct Picture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint8_t> rgb;
};

Picture readPicture(char const* path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path) == 0) {
        throw std::runtime_error(image.message);
    }
    image.format = PNG_FORMAT_RGB;
    Picture picture{image.width, image.height, std::vector<std::uint8_t>(PNG_IMAGE_SIZE(image))};
    if (png_image_finish_read(&image, nullptr, picture.rgb.data(), 0, nullptr) == 0) {
        throw std::runtime_error(image.message);
    }
    return picture;
}

std::map<std::uint32_t, std::size_t> countColours(Picture const& picture) {
    std::map<std::uint32_t, std::size_t> counts;
    for (std::size_t i = 0; i + 2 < picture.rgb.size(); i += 3) {
        std::uint32_t const red = picture.rgb[i];
        std::uint32_t const green = picture.rgb[i + 1];
        std::uint32_t const blue = picture.rgb[i + 2];
        ++counts[(red << 16) | (green << 8) | blue];
    }
    return counts;
}

void judge(char const* path) {
    Picture const picture = readPicture(path);
    if (picture.width < smallestSide || picture.height < smallestSide) {
        throw std::runtime_error("too small");
    }
    auto const counts = countColours(picture);
    auto const byCount = [](auto const& a, auto const& b) { return a.second < b.second; };
    auto const most = std::max_element(counts.begin(), counts.end(), byCount);
    double const pixels = static_cast<double>(picture.width) * static_cast<double>(picture.height);
    double const share = static_cast<double>(most->second) / pixels;
    std::cout << path << ": " << picture.width << " x " << picture.height << ", " << counts.size()
              << " colours, the commonest on " << 100.0 * share << " %\n";
    if (counts.size() < minColours || share > largestShare) {
        throw std::runtime_error("blank");
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::cerr << "no pictures\n";
        return 1;
    }
    bool areAllGood = true;
    for (int i = 1; i < argc; ++i) {
        try {
            judge(argv[i]);
        } catch (std::exception const& failure) {
            std::cerr << argv[i] << ": " << failure.what() << '\n';
            areAllGood = false;
        }
    }
    return areAllGood ? 0 : 1;
}
