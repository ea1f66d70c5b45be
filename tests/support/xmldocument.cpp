// SPDX-License-Identifier: MIT
#include "support/xmldocument.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

#if !defined(_WIN32)
namespace
{
constexpr int kNotFound = 127; // what a shell says of a program that is not there

std::string quoted(std::string const &text)
{
    std::string word = "'";
    for (char const unit : text)
        word += unit == '\'' ? std::string("'\\''") : std::string(1, unit);
    return word + "'";
}
} // namespace
#endif

std::string documentOf(std::string const &elements)
{
    return "<?xml version='1.0' encoding='ISO-8859-1'?>\n" +
           (elements.empty() ? "<Document/>" : "<Document>" + elements + "</Document>") + "\n";
}

std::string textOf(CString const &path)
{
    std::ifstream file(pathOf(path), std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path.ToUtf8();
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

CString putText(ScratchFolder const &folder, std::string const &name, std::string_view text)
{
    CString const where = folder.path(name);
    std::ofstream file(pathOf(where), std::ios::binary);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.close();
    EXPECT_TRUE(file.good()) << where.ToUtf8();
    return where;
}

std::string OpenXmlFiler::working()
{
    OktXml::IXMLDOMElementPtr const node = getWorkingNode();
    return node ? node->nodeName().ToUtf8() : std::string();
}

#if !defined(_WIN32) // the other readers of documents are programs of the building system

ProgramRun runProgram(std::string const &commandLine)
{
    ProgramRun run;
    FILE *const pipe = popen(commandLine.c_str(), "r");
    if (pipe == nullptr)
    {
        ADD_FAILURE() << "no process can be made for: " << commandLine;
        return run;
    }
    char buffer[4096];
    for (std::size_t count = 0; (count = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        run.output.append(buffer, count);
    int const status = pclose(pipe);
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    if (run.exitCode == kNotFound)
        ADD_FAILURE() << "a program that the tests need is missing; scripts/packages names its package: " << commandLine;
    return run;
}

nlohmann::json readByPython(CString const &path)
{
    ProgramRun const run =
        runProgram("python3 " + quoted(OKT_TEST_DATA_DIR "/support/xmltree.py") + " " + quoted(path.ToUtf8()));
    EXPECT_EQ(run.exitCode, 0) << "python3 with its XML parser cannot read " << path.ToUtf8();
    nlohmann::json document = nlohmann::json::parse(run.output, nullptr, false);
    EXPECT_FALSE(document.is_discarded()) << run.output;
    return document;
}

bool isWellFormedForXmllint(CString const &path)
{
    return runProgram("xmllint --noout --nonet " + quoted(path.ToUtf8())).exitCode == 0;
}

std::string canonicalByXmllint(CString const &path)
{
    ProgramRun const run = runProgram("xmllint --nonet --c14n " + quoted(path.ToUtf8()));
    EXPECT_EQ(run.exitCode, 0) << path.ToUtf8();
    return run.output;
}

#else

// The system's parser is the second reader here, asked without the layer that is tested.
#include <msxml2.h>

namespace
{
constexpr GUID kDocumentClass = {0x2933BF90, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr GUID kDocument = {0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

std::string utf8Of(BSTR text)
{
    std::string const utf8 = CString(text, static_cast<int>(SysStringLen(text))).ToUtf8();
    SysFreeString(text);
    return utf8;
}

std::string nameOf(IXMLDOMNode *node)
{
    BSTR name = nullptr;
    node->get_nodeName(&name);
    return utf8Of(name);
}

std::string valueOf(IXMLDOMNode *node)
{
    VARIANT value;
    VariantInit(&value);
    node->get_nodeValue(&value);
    return value.vt == VT_BSTR ? utf8Of(value.bstrVal) : std::string();
}

/// Tag, attributes, text ahead of the first child, children.
nlohmann::json treeOf(IXMLDOMNode *element)
{
    nlohmann::json attributes = nlohmann::json::array();
    IXMLDOMNamedNodeMap *map = nullptr;
    element->get_attributes(&map);
    IXMLDOMNode *attribute = nullptr;
    for (map->nextNode(&attribute); attribute != nullptr; attribute = nullptr, map->nextNode(&attribute))
    {
        attributes.push_back({nameOf(attribute), valueOf(attribute)});
        attribute->Release();
    }
    map->Release();
    std::string text;
    nlohmann::json children = nlohmann::json::array();
    IXMLDOMNode *child = nullptr;
    element->get_firstChild(&child);
    while (child != nullptr)
    {
        DOMNodeType type = NODE_INVALID;
        child->get_nodeType(&type);
        if (type == NODE_ELEMENT)
            children.push_back(treeOf(child));
        else if (type == NODE_TEXT)
            text += valueOf(child);
        IXMLDOMNode *next = nullptr;
        child->get_nextSibling(&next);
        child->Release();
        child = next;
    }
    return nlohmann::json::array({nameOf(element), attributes, text, children});
}
} // namespace

nlohmann::json readByPython(CString const &path)
{
    CoInitialize(nullptr);
    nlohmann::json tree;
    IXMLDOMDocument *document = nullptr;
    if (SUCCEEDED(CoCreateInstance(kDocumentClass, nullptr, CLSCTX_ALL, kDocument, reinterpret_cast<void **>(&document))))
    {
        document->put_async(VARIANT_FALSE);
        document->put_preserveWhiteSpace(VARIANT_TRUE);
        VARIANT name;
        VariantInit(&name);
        name.vt = VT_BSTR;
        name.bstrVal = path.AllocSysString();
        VARIANT_BOOL parsed = VARIANT_FALSE;
        document->load(name, &parsed);
        VariantClear(&name);
        IXMLDOMElement *root = nullptr;
        if (parsed == VARIANT_TRUE && document->get_documentElement(&root) == S_OK)
        {
            tree = treeOf(root);
            root->Release();
        }
        document->Release();
    }
    CoUninitialize();
    EXPECT_FALSE(tree.is_null()) << path.ToUtf8();
    return tree;
}

bool isWellFormedForXmllint(CString const &path)
{
    std::shared_ptr<OktXml::IXMLDOMDocument> const document = OktXml::IXMLDOMDocument::create();
    return document != nullptr && document->load(path) == S_OK;
}

#endif
