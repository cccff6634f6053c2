#pragma once

/// Names a case of a parameterized test by its member `name`.
inline constexpr auto name_of = [](const auto& info) { return info.param.name; };
