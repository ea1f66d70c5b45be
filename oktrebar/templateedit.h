// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/expressions.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace okt
{

// Changes values in the bytes of a template's file. Nothing is loaded and saved: every record that is not changed stays as it is,
// whatever class it belongs to and whatever order the objects have.

/// Why a file cannot be changed.
class EditRefused : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

enum class PictureChange
{
    None,      ///< there is no picture
    Same,      ///< the values do not show in it
    Drawn,     ///< drawn anew
    OutOfDate, ///< kept: the values may show in it, and it is not the one that is drawn here for those before
    NotDrawn   ///< kept: such a template is not drawn here, and what shows in the picture is not known
};

struct EditedTemplate
{
    std::string bytes;
    PictureChange picture = PictureChange::None;
    std::vector<_GUID> outOfDate; ///< the pictures that were kept
};

struct EditOptions
{
    bool withPictures = true; ///< false: they stay as they are, and nothing is told of them; to learn quickly what is refused
};

/// The bytes of the file with these values. Places and sizes in the header follow. A picture that is the one drawn here for the
/// values before is drawn for the new ones, where these may show in it. The outcome is read again and compared: all other frames are those of before, byte for
/// byte. Throws EditRefused for a file that is damaged, and for a value that cannot be put into it.
EditedTemplate edited(std::string_view bytes, StoredTemplate const &pool, LengthUnit const &drawn, ChangedValues const &values,
                      EditOptions const &options = {});

} // namespace okt
