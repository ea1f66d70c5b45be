// SPDX-License-Identifier: MIT
#pragma once

#include <oktinspect/diffpool.h>

#include <tools/okt/terminal/console.h>

#include <optional>
#include <string>

namespace okt
{

/// A value of the text form in one line; null: "nothing". With its kind where that is another than on the other side.
std::string valueText(Json const &value, DiffPool const &pool, bool withKind);
/// The keys that tell what a value is, and the kind of a variant.
std::string kindOf(Json const &value);
/// An id, and the name of the object that it leads to.
std::string idText(std::string const &guid, DiffPool const &pool);
/// "PNG, 800 x 600 pixels, 37000 bytes", of the base64 of an image.
std::string imageText(std::string const &base64);

/// What stood before and what stands now behind the words for what it is: on one line, or below where that would be long. Two that
/// look the same are told to be others. The words have a colour where they are the only line for an object.
std::string changeText(std::string const &what, std::string const &before, std::string after, std::size_t indent,
                       std::optional<Colour> colour = {});
/// Lines below another one.
std::string removedLine(std::string const &text, std::size_t indent);
std::string addedLine(std::string const &text, std::size_t indent);

} // namespace okt
