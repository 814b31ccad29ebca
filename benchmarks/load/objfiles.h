#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

// The files of this task: a wavy grid of about so many triangles, its faces in one of three orders.

namespace Benchmarks {

enum class FaceOrder : int {
    AsMade = 0,
    Shuffled = 1,
    Reversed = 2,
};

inline std::vector<std::array<std::size_t, 3>> makeFaces(std::size_t side, FaceOrder order) {
    std::vector<std::array<std::size_t, 3>> faces;
    for (std::size_t j = 0; j + 1 < side; ++j) {
        for (std::size_t i = 0; i + 1 < side; ++i) {
            std::size_t const a = j * side + i + 1;
            faces.push_back({a, a + 1, a + side + 1});
            faces.push_back({a, a + side + 1, a + side});
        }
    }
    if (order == FaceOrder::Shuffled) {
        std::shuffle(faces.begin(), faces.end(), std::mt19937(1));
    } else if (order == FaceOrder::Reversed) {
        std::reverse(faces.begin(), faces.end());
    }
    return faces;
}

/// Lies beside other temporary files as long as the object lives.
class ObjFile {
public:
    ObjFile(std::size_t numberOfTriangles, FaceOrder order)
        : path((std::filesystem::temp_directory_path() / "qelt_load_benchmark.obj").string()) {
        std::size_t side = 2;
        while (2 * (side - 1) * (side - 1) < numberOfTriangles) {
            ++side;
        }
        std::unique_ptr<std::FILE, int (*)(std::FILE*)> const file(std::fopen(path.c_str(), "wb"),
                                                                   std::fclose);
        if (file == nullptr) {
            throw std::runtime_error("Cannot write " + path);
        }
        for (std::size_t v = 0; v < side * side; ++v) {
            std::size_t const i = v % side;
            std::size_t const j = v / side;
            std::fprintf(file.get(), "v %.6f %.6f %.6f\n", 0.0137 * static_cast<double>(i),
                         0.0171 * static_cast<double>(j),
                         0.00137 * static_cast<double>((i * i + 3 * j) % 101));
        }
        for (auto const& [a, b, c] : makeFaces(side, order)) {
            std::fprintf(file.get(), "f %zu %zu %zu\n", a, b, c);
        }
    }

    ObjFile(ObjFile const&) = delete;
    ObjFile& operator=(ObjFile const&) = delete;

    ~ObjFile() { std::remove(path.c_str()); }

    std::string const& getPath() const { return path; }

private:
    std::string path;
};

} // namespace Benchmarks
