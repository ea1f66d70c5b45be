// SPDX-License-Identifier: MIT
#pragma once

#include <oktinspect/diffpool.h>

#include <tools/okt/terminal/console.h>

#include <optional>
#include <string>

namespace okt
{

/// A value of the text form in one line; null: "nothing". With its kind if the kinds of both sides differ.
std::string valueText(Json const &value, DiffPool const &pool, bool withKind);
/// The keys that describe a value, and the kind of a variant.
std::string kindOf(Json const &value);
/// An id, and the name of the object that it leads to.
std::string idText(std::string const &guid, DiffPool const &pool);
/// "PNG, 800 x 600 pixels, 37000 bytes", of the base64 of an image.
std::string imageText(std::string const &base64);

/// The value before and the value now after the words for the member: on one line, or below it if that would be long. Two that
/// look the same get a remark. The words are coloured if they are the only line for an object.
std::string changeText(std::string const &what, std::string const &before, std::string after, std::size_t indent,
                       std::optional<Colour> colour = {});
/// Lines below another one.
std::string removedLine(std::string const &text, std::size_t indent);
std::string addedLine(std::string const &text, std::size_t indent);

} // namespace okt
