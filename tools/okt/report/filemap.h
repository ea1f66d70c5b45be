#pragma once

#include "templatefacts.h"

#include <map>
#include <string>

namespace okt
{

/// The colours of classes, the same for every file of a page: each of the library's classes has its own, others take turns.
class ClassColours
{
public:
    /// The name of the style for an object of the class, which is HTML.
    std::string of(std::string const &className);

private:
    std::map<std::string, std::string> m_others;
};

/// The bytes in one row of a map: a power of two, so that the rows are few.
std::uint64_t rowLength(std::uint64_t fileSize);

/// A map of a file to scale: rows of equally many bytes, in which every stretch is as wide as it is long. Neighbours
/// that are too short to be told apart share one, so a map has at most some thousands.
std::string fileMap(TemplateFacts const &facts, ClassColours &colours);

/// The legend of the map: objects and bytes of each class, largest first.
std::string fileLegend(TemplateFacts const &facts, ClassColours &colours);

} // namespace okt
