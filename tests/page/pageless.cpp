// What the library is without the page, or with one that was handed in: pageless BUNDLE, where none means
// without. Linked with the library's objects but for its own page.

#include "Inspection/pages/internal/pagebundle.h"
#include "Inspection/pages/view.h"
#include "Inspection/records/failure.h"

#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

using namespace QELT::Inspection;

namespace {

std::string refusalOf(ViewOptions const& options) {
    try {
        view(options, nullptr);
    } catch (Failure const& failure) {
        return failure.what();
    }
    return "";
}

bool isRefusedWithRemedies() {
    ViewOptions options;
    options.input = "part.quads";
    options.output = "page.html";
    std::string const refusal = refusalOf(options);
    std::cout << refusal << '\n';
    return !hasPage() && refusal.find("-DQELT_WITH_PAGE=ON") != std::string::npos &&
           refusal.find("-DQELT_PAGE_BUNDLE=") != std::string::npos;
}

bool isHandedIn(char const* bundle) {
    std::ifstream file(bundle, std::ios::binary);
    std::string const bytes{std::istreambuf_iterator<char>(file), {}};
    std::cout << pageBundle().size() << " bytes\n";
    return hasPage() && !bytes.empty() && pageBundle() == bytes;
}

} // namespace

int main(int argc, char** argv) {
    return (argc > 1 ? isHandedIn(argv[1]) : isRefusedWithRemedies()) ? 0 : 1;
}
