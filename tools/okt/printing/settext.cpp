// SPDX-License-Identifier: MIT
#include <tools/okt/printing/settext.h>

#include <tools/okt/printing/parameterjson.h>

#include <oktformat/guids.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <algorithm>

namespace okt
{

namespace
{

ShownValue shownOf(SetStory const &story, std::size_t index, bool isAfter)
{
    StoredParameter parameter = story.pool->parameters[index];
    if (isAfter)
        parameter.value = story.changes->values.at(index);
    return shownValue(parameter, *story.shown, *story.drawn);
}

bool isCalculated(SetStory const &story, std::size_t index)
{
    return std::find(story.changes->order.begin(), story.changes->order.end(), index) != story.changes->order.end();
}

/// The given ones in the order of the template, then the calculated ones in theirs.
std::vector<std::size_t> changedInOrder(SetStory const &story)
{
    std::vector<std::size_t> order;
    for (std::size_t const index : story.pool->inOrder())
        if (story.changes->values.contains(index) && !isCalculated(story, index))
            order.push_back(index);
    order.insert(order.end(), story.changes->order.begin(), story.changes->order.end());
    return order;
}

std::string nameOf(StoredParameter const &parameter)
{
    return parameter.name.empty() ? idText(parameter.id) : printable(std::string_view(parameter.name));
}

std::string textOf(ShownValue const &value)
{
    std::string const text = shownText(value);
    return std::holds_alternative<std::string>(value.value) ? sentence("\"{}\"", printable(std::string_view(text))) : text;
}

char const *pictureWord(PictureChange change)
{
    switch (change)
    {
    case PictureChange::None: return "none";
    case PictureChange::Same: return "same";
    case PictureChange::Drawn: return "drawn";
    case PictureChange::OutOfDate: return "out of date";
    case PictureChange::NotDrawn: break;
    }
    return "kept";
}

} // namespace

std::string setText(SetStory const &story)
{
    std::string text = printable(std::string_view(story.file)) + ":";
    if (story.made == nullptr)
        return text + " is so already\n";
    text += "\n";
    for (std::size_t const index : changedInOrder(story))
        text += sentence("  {}: {} -> {}{}\n", nameOf(story.pool->parameters[index]), textOf(shownOf(story, index, false)),
                         textOf(shownOf(story, index, true)), isCalculated(story, index) ? ", calculated" : "");
    for (LeftParameter const &left : story.changes->left)
        text += sentence("  {}: left as it was: {}\n", nameOf(story.pool->parameters[left.parameter]),
                         printable(std::string_view(reasonText(left))));
    if (story.made->picture == PictureChange::Drawn)
        text += "  picture: drawn anew\n";
    for (_GUID const &id : story.made->outOfDate)
        text +=
            sentence("  picture {}: kept, and {}\n", idText(id),
                     story.made->picture == PictureChange::NotDrawn ? "perhaps out of date: okt does not draw such a template"
                                                                    : "out of date: it is not the one that okt draws");
    return text;
}

std::string setJson(SetStory const &story, std::string const &state)
{
    PlainJson json;
    json["file"] = story.file;
    json["state"] = state;
    json["values"] = PlainJson::array();
    json["left"] = PlainJson::array();
    if (story.made != nullptr)
    {
        for (std::size_t const index : changedInOrder(story))
        {
            StoredParameter const &parameter = story.pool->parameters[index];
            ShownValue const after = shownOf(story, index, true);
            PlainJson one = {{"name", parameter.name}, {"id", idText(parameter.id)}};
            one["before"] = jsonOf(shownOf(story, index, false).value);
            one["after"] = jsonOf(after.value);
            one["unit"] = after.unit == nullptr ? PlainJson(nullptr) : PlainJson(after.unit->name);
            one["calculated"] = isCalculated(story, index);
            json["values"].push_back(std::move(one));
        }
        for (LeftParameter const &left : story.changes->left)
        {
            StoredParameter const &parameter = story.pool->parameters[left.parameter];
            json["left"].push_back({{"name", parameter.name}, {"id", idText(parameter.id)}, {"reason", reasonText(left)}});
        }
        json["picture"] = pictureWord(story.made->picture);
    }
    return lineOf(json);
}

} // namespace okt
