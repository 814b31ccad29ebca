#pragma once

#include "Inspection/pages/internal/pagemodel.h"

#include <string>
#include <string_view>

namespace QELT::Inspection {

/// The bundle filled with a model: its title and, where `pageDataMark` stands, the JSON and the sections, in
/// elements that no browser takes for code. Nothing that a model holds can end these elements.
std::string pageOf(std::string_view bundle, std::string const& title, PageModel const& model);

/// Where a bundle takes its title and its data; each stands in it once.
inline constexpr std::string_view pageTitleMark = "<!--QELT-TITLE-->";
inline constexpr std::string_view pageDataMark = "<!--QELT-DATA-->";

} // namespace QELT::Inspection
