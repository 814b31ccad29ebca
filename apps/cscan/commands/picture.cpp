#include "Inspection/pictures/drawnresult.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <ostream>

namespace cscan {

namespace {

std::array<double, 2> limitsIn(std::string_view text) {
    auto const numbers = numbersIn(text, "LOW,HIGH");
    if (!(numbers[0] < numbers[1])) {
        throw UsageError("'" + std::string(text) + "' does not rise");
    }
    return {numbers[0], numbers[1]};
}

/// As many numbers as there are commas, and one more.
std::vector<double> bandsIn(std::string_view text) {
    std::string form = "A";
    for (char const letter : text) {
        form += letter == ',' ? ",B" : "";
    }
    auto const numbers = numbersIn(text, form);
    if (numbers.size() < 2 || !std::is_sorted(numbers.begin(), numbers.end(), std::less_equal<>())) {
        throw UsageError("'" + std::string(text) + "' is not two numbers or more that rise");
    }
    return numbers;
}

} // namespace

Command addPicture(CLI::App& app) {
    auto const options = std::make_shared<PictureOptions>();
    CLI::App* const picture = addCommand(app, "picture", "Draw a value of a result as a C-scan");
    picture->add_option("RESULT", options->result, "Result of 'cscan scan --data'")->required();
    picture->add_option("IMAGE", options->image, "Picture to write, a PNG file")->required();
    picture
        ->add_option("--value", options->value,
                     "Value to draw, such as amplitude or amplitude:max; the states if it is not given")
        ->type_name("NAME");
    picture->add_option("--limits", "Values at the ends of the colours; the bulk of the values if not given")
        ->check(reading(options->style.limits, limitsIn))
        ->type_name("LOW,HIGH");
    picture
        ->add_option("--bands",
                     "Values at which the colours change, such as 0,1,2,4, in place of a smooth scale")
        ->check(reading(options->style.bands, bandsIn))
        ->type_name("A,B,...");
    picture
        ->add_option("--spot",
                     "Paint each shot as a spot of this diameter on the part; for looking, measures nothing")
        ->check(reading(options->spot, positiveNumberIn))
        ->type_name("D");
    std::map<std::string, ColourMap> const maps{
        {"colour", ColourMap::Colour}, {"grey", ColourMap::Grey}, {"diverging", ColourMap::Diverging}};
    picture->add_option("--map", "Colours: colour (if not given), grey, or diverging for values around zero")
        ->type_name("TEXT")
        ->check(CLI::IsMember({"colour", "grey", "diverging"}))
        ->check(reading(options->style.map, oneOf(maps)));
    return commandOf(
        picture, [options] { return *options; },
        [](PictureOptions const& asked, ProgressListener* listener) {
            drawResult(asked, listener);
            return asked.image;
        },
        [](std::ostream& output, PictureOptions const&, std::filesystem::path const& image) {
            printItem(output, "image", image.string());
        });
}

} // namespace cscan
