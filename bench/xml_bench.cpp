// SPDX-License-Identifier: MIT
// XML documents: values under one frame written, pools written, values looked up by name. Beside each but the pools, plain
// libxml2 does the same work on the same names and values in the same turn.

#include "measure.h"
#include "samplefile.h"

#include <oktdatabase/oktdbpool.h>
#include <oktdatabase/oktdbrelation.h>
#include <oktdatabase/oktxmlfiler.h>

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace
{
// The column names of bench/xml.awk.
constexpr char const *kOurs = "xml_ns";
constexpr char const *kPeers = "xml_peer_ns";
constexpr char const *kAllocated = "xml_allocations";
constexpr char const *kSaved = "xml_bytes";

/// Names of values as they stand in a document.
std::vector<CString> valueNames(int count)
{
    std::vector<CString> names;
    for (int i = 0; i < count; ++i)
        names.push_back(CString::FromUtf8("m_nValue" + std::to_string(i)));
    return names;
}

xmlChar const *xmlText(char const *text) { return reinterpret_cast<xmlChar const *>(text); }

void needs(bool done, char const *what)
{
    if (done)
        return;
    std::fprintf(stderr, "okt_bench: %s\n", what);
    std::exit(1);
}

bool writeByFiler(CString const &path, std::vector<CString> const &names)
{
    OKTXmlFiler filer;
    bool done = filer.NewFiler(path, true) && filer.beginWriteClass(u"Object", u"Bench", 1) && filer.beginWriteMembers(1);
    int number = 0;
    for (CString const &name : names)
        done = filer.writeInt(name, ++number) && done;
    return filer.endWriteMembers() && filer.endWriteClass() && filer.CloseFiler() && done;
}

bool writePlainly(std::string const &path, std::vector<std::string> const &names)
{
    xmlDocPtr const document = xmlNewDoc(xmlText("1.0"));
    xmlNodePtr const root = xmlNewDocNode(document, nullptr, xmlText("Document"), nullptr);
    xmlDocSetRootElement(document, root);
    xmlNodePtr const frame = xmlNewChild(root, nullptr, xmlText("Object"), nullptr);
    xmlNewProp(frame, xmlText("class"), xmlText("Bench"));
    xmlNewProp(frame, xmlText("version"), xmlText("1"));
    xmlNodePtr const section = xmlNewChild(frame, nullptr, xmlText("Members"), nullptr);
    xmlNewProp(section, xmlText("version"), xmlText("1"));
    int number = 0;
    for (std::string const &name : names)
    {
        char text[16];
        std::snprintf(text, sizeof text, "%d", ++number);
        xmlNodePtr const value = xmlNewChild(section, nullptr, xmlText(name.c_str()), nullptr);
        xmlNewProp(value, xmlText("long"), xmlText(text));
    }
    bool const saved = xmlSaveFormatFileEnc(path.c_str(), document, "ISO-8859-1", 0) > 0;
    xmlFreeDoc(document);
    return saved;
}

void writeValues(benchmark::State &state)
{
    int const count = static_cast<int>(state.range(0));
    SampleFile const file;
    SampleFile const peerFile;
    std::vector<CString> const names = valueNames(count);
    std::vector<std::string> peerNames;
    for (CString const &name : names)
        peerNames.push_back(name.ToUtf8());
    Stopwatch ours;
    Stopwatch peers;
    std::size_t allocations = 0;
    for ([[maybe_unused]] auto const turn : state)
    {
        AllocationCount const counter;
        state.SetIterationTime(ours.time([&] { needs(writeByFiler(file.path(), names), "a document was not written"); }));
        allocations = counter.count();
        peers.time([&] { needs(writePlainly(peerFile.name(), peerNames), "a document was not written by libxml2"); });
    }
    state.counters[kOurs] = ours.median() * 1e9 / count;
    state.counters[kPeers] = peers.median() * 1e9 / count;
    state.counters[kAllocated] = static_cast<double>(allocations) / count;
    state.counters[kSaved] = file.size() / count;
}

/// Each value of a section is looked up once, in an order that has nothing to do with that of the section.
void lookUpValues(benchmark::State &state)
{
    int const count = static_cast<int>(state.range(0));
    SampleFile const file;
    std::vector<CString> names = valueNames(count);
    needs(writeByFiler(file.path(), names), "a document was not written");
    std::shuffle(names.begin(), names.end(), std::mt19937(1));
    std::vector<std::string> peerNames;
    for (CString const &name : names)
        peerNames.push_back(name.ToUtf8());

    OKTXmlFiler filer;
    needs(filer.NewFiler(file.path(), false) && filer.beginReadClass(u"Object", u"Bench") && filer.beginReadMembers(1),
          "a document was not read");
    xmlDocPtr const document = xmlReadFile(file.name().c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_NOBLANKS);
    needs(document != nullptr, "a document was not read by libxml2");
    xmlNodePtr const section = xmlDocGetRootElement(document)->children->children;

    Stopwatch ours;
    Stopwatch peers;
    std::size_t allocations = 0;
    for ([[maybe_unused]] auto const turn : state)
    {
        long long sum = 0;
        AllocationCount const counter;
        state.SetIterationTime(ours.time([&] {
            for (CString const &name : names)
            {
                int value;
                if (filer.readInt(name, value))
                    sum += value;
            }
        }));
        allocations = counter.count();
        long long peerSum = 0;
        peers.time([&] {
            for (std::string const &name : peerNames)
                for (xmlNodePtr child = section->children; child != nullptr; child = child->next)
                {
                    if (xmlStrEqual(child->name, xmlText(name.c_str())) == 0)
                        continue;
                    xmlChar *const text = xmlGetProp(child, xmlText("long"));
                    if (text == nullptr)
                        continue;
                    peerSum += std::strtol(reinterpret_cast<char const *>(text), nullptr, 10);
                    xmlFree(text);
                    break;
                }
        });
        if (sum != peerSum || sum != static_cast<long long>(count) * (count + 1) / 2)
            state.SkipWithError("a value was not found");
    }
    xmlFreeDoc(document);
    state.counters[kOurs] = ours.median() * 1e9 / count;
    state.counters[kPeers] = peers.median() * 1e9 / count;
    state.counters[kAllocated] = static_cast<double>(allocations) / count;
}

/// The result is always false, and the document has an empty root (quirk 72); the walk over the objects is what is measured.
void writePool(benchmark::State &state)
{
    int const count = static_cast<int>(state.range(0));
    SampleFile const file;
    OKTDbPool pool;
    for (int i = 0; i < count; ++i)
        pool.appendObject(new OKTDbRelation);
    Stopwatch ours;
    std::size_t allocations = 0;
    for ([[maybe_unused]] auto const turn : state)
    {
        AllocationCount const counter;
        state.SetIterationTime(ours.time([&] { needs(!pool.writeXMLFile(file.path()), "a pool was written as a document"); }));
        allocations = counter.count();
    }
    state.counters[kOurs] = ours.median() * 1e9 / count;
    state.counters[kAllocated] = static_cast<double>(allocations) / count;
    state.counters[kSaved] = file.size() / count;
}

BENCHMARK(writeValues)
    ->Name("xml, values under one frame")
    ->Arg(1'000)
    ->Arg(10'000)
    ->Arg(200'000)
    ->Arg(1'000'000)
    ->UseManualTime();
BENCHMARK(writePool)->Name("xml, writeXMLFile of a pool")->Arg(1'000)->Arg(10'000)->Arg(100'000)->UseManualTime();
BENCHMARK(lookUpValues)->Name("xml, look-up by name")->Arg(10)->Arg(100)->Arg(1'000)->Arg(10'000)->UseManualTime();
} // namespace
