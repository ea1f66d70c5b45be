// SPDX-License-Identifier: MIT
#include <oktplatform/oktxmldom.h>

#include <oktplatform/oktfile.h>
#include <oktplatform/oktxmlname_internal.h>

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>
#include <libxml/xmlsave.h>

#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <unordered_set>
#include <utility>

// The names of the platform's parser on libxml2, for each back end without a parser of its own. libxml2's texts are UTF-8.

namespace OktXml
{
struct OktXmlTree
{
    xmlDocPtr document = nullptr;
    std::unordered_set<xmlNodePtr> detached; // created and not attached

    OktXmlTree() = default;
    OktXmlTree(OktXmlTree const &) = delete;
    OktXmlTree &operator=(OktXmlTree const &) = delete;
    ~OktXmlTree()
    {
        for (xmlNodePtr const node : detached)
            node->type == XML_ATTRIBUTE_NODE ? xmlFreeProp(reinterpret_cast<xmlAttrPtr>(node)) : xmlFreeNode(node);
        xmlFreeDoc(document);
    }
};

namespace
{
constexpr char kSavedEncoding[] = "ISO-8859-1";
constexpr char kInstructionText[] = "version='1.0' encoding='ISO-8859-1'";
constexpr int kMostDefaults = 100; // of attributes, in one document
constexpr int kMostDepth = 256;    // of elements

xmlNodePtr raw(OktXmlNode *node) { return reinterpret_cast<xmlNodePtr>(node); }

OktXmlNode *wrapped(void *node) { return static_cast<OktXmlNode *>(node); }

xmlChar const *xmlText(std::string const &text) { return reinterpret_cast<xmlChar const *>(text.c_str()); }

std::string_view viewOf(xmlChar const *text)
{
    return text == nullptr ? std::string_view() : std::string_view(reinterpret_cast<char const *>(text));
}

template <typename T> T *needed(T *made)
{
    if (made == nullptr)
        throw std::bad_alloc();
    return made;
}

// The text in UTF-8 with U+FFFD for each character that XML 1.0 does not allow. ToUtf8 replaces lone surrogates itself.
std::string valueText(CString const &text)
{
    bool clean = true;
    for (WCHAR const unit : text.View())
        clean = clean && OktXmlText::isCharacter(unit);
    if (clean)
        return text.ToUtf8();
    CString copy = text.Owned();
    for (int i = 0; i < copy.GetLength(); ++i)
    {
        WCHAR const unit = copy.GetAt(i);
        if (!OktXmlText::isCharacter(unit))
            copy.SetAt(i, 0xFFFD);
    }
    return copy.ToUtf8();
}

// Compares a name with the prefix and the local name of a node, as they are in its tag.
bool hasName(xmlNodePtr node, std::string_view name)
{
    xmlNsPtr const space = node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE ? node->ns : nullptr;
    if (space == nullptr || space->prefix == nullptr)
        return viewOf(node->name) == name;
    std::string_view const prefix = viewOf(space->prefix);
    std::string_view const local = viewOf(node->name);
    return name.size() == prefix.size() + 1 + local.size() && name.starts_with(prefix) && name[prefix.size()] == ':' &&
           name.ends_with(local);
}

std::string contentOf(xmlNodePtr attribute)
{
    xmlNodePtr const only = attribute->children;
    if (only == nullptr)
        return {};
    if (only->next == nullptr && only->type == XML_TEXT_NODE)
        return std::string(viewOf(only->content));
    std::unique_ptr<xmlChar, void (*)(void *)> const text(needed(xmlNodeListGetString(attribute->doc, only, 1)), xmlFree);
    return std::string(viewOf(text.get()));
}

bool isBlankText(xmlNodePtr node) { return node->type == XML_TEXT_NODE && xmlIsBlankNode(node) == 1; }

// Removes white space between elements. False: elements are nested too deep. The parser's own limit depends on its version.
bool tidy(xmlDocPtr document)
{
    auto *const root = reinterpret_cast<xmlNodePtr>(document);
    int depth = 1;
    for (xmlNodePtr node = root->children; node != nullptr;)
    {
        if (node->type == XML_ELEMENT_NODE && depth > kMostDepth)
            return false;
        xmlNodePtr next = node->type == XML_ELEMENT_NODE ? node->children : nullptr;
        depth += next != nullptr ? 1 : 0;
        for (xmlNodePtr up = node; next == nullptr && up != nullptr && up != root; up = up->parent)
        {
            next = up->next;
            depth -= next == nullptr ? 1 : 0;
        }
        if (isBlankText(node))
        {
            xmlUnlinkNode(node);
            xmlFreeNode(node);
        }
        node = next;
    }
    return true;
}

// Adds the "xml" instruction of a file as a node, which the parser does not do. Its text is that of a saved document.
void addInstruction(xmlDocPtr document)
{
    constexpr int kNoInstruction = -1; // -2: there is one, without "standalone"
    if (document->standalone == kNoInstruction)
        return;
    xmlNodePtr const instruction = needed(
        xmlNewDocPI(document, reinterpret_cast<xmlChar const *>("xml"), reinterpret_cast<xmlChar const *>(kInstructionText)));
    xmlAddPrevSibling(document->children, instruction); // there is a root
}

// While one exists, the parser prints no errors. Its results report all errors except failed allocations, which are noted here.
class Silence
{
public:
    Silence() : m_handler(xmlStructuredError), m_context(xmlStructuredErrorContext)
    {
        xmlSetStructuredErrorFunc(this, [](void *silence, xmlErrorPtr error) {
            if (error != nullptr && error->code == XML_ERR_NO_MEMORY)
                static_cast<Silence *>(silence)->m_hasMemory = false;
        });
    }
    Silence(Silence const &) = delete;
    Silence &operator=(Silence const &) = delete;
    ~Silence() { xmlSetStructuredErrorFunc(m_context, m_handler); }

    bool hasMemory() const { return m_hasMemory; }

private:
    xmlStructuredErrorFunc m_handler;
    void *m_context;
    bool m_hasMemory = true;
};

// Declared attributes are ignored. Their defaults cost the parser time for each element, so their number is limited.
void declareAttribute(void *context, xmlChar const *, xmlChar const *, int, int, xmlChar const *defaultValue,
                      xmlEnumerationPtr values)
{
    xmlFreeEnumeration(values);
    auto *const parser = static_cast<xmlParserCtxtPtr>(context);
    int &defaults = *static_cast<int *>(parser->_private);
    if (defaultValue == nullptr || ++defaults <= kMostDefaults)
        return;
    parser->wellFormed = 0;
    xmlStopParser(parser);
}

// Declares an external entity as an empty internal one: a reference to it gives nothing, and no file is opened. The same for each
// parameter entity: their declarations are not used, and nested ones could cost unlimited time.
void declareEntity(void *context, xmlChar const *name, int type, xmlChar const *publicId, xmlChar const *systemId,
                   xmlChar *content)
{
    xmlChar nothing[] = {0};
    switch (type)
    {
    case XML_EXTERNAL_GENERAL_PARSED_ENTITY:
    case XML_EXTERNAL_GENERAL_UNPARSED_ENTITY:
        xmlSAX2EntityDecl(context, name, XML_INTERNAL_GENERAL_ENTITY, nullptr, nullptr, nothing);
        break;
    case XML_EXTERNAL_PARAMETER_ENTITY:
    case XML_INTERNAL_PARAMETER_ENTITY:
        xmlSAX2EntityDecl(context, name, XML_INTERNAL_PARAMETER_ENTITY, nullptr, nullptr, nothing);
        break;
    default: xmlSAX2EntityDecl(context, name, type, publicId, systemId, content); break;
    }
}

int readFile(void *file, char *target, int size)
{
    try
    {
        return static_cast<int>(static_cast<CFile *>(file)->Read(target, static_cast<UINT>(size)));
    }
    catch (CFileException const &)
    {
        return -1;
    }
}

int closeNothing(void *) { return 0; }

IXMLDOMNodePtr nodePtr(std::shared_ptr<OktXmlTree> const &tree, xmlNodePtr node)
{
    return node == nullptr ? IXMLDOMNodePtr() : IXMLDOMNodePtr(tree, wrapped(node));
}

// Frees a node that is not in a list of its tree.
struct FreeNode
{
    void operator()(xmlNodePtr node) const
    {
        node->type == XML_ATTRIBUTE_NODE ? xmlFreeProp(reinterpret_cast<xmlAttrPtr>(node)) : xmlFreeNode(node);
    }
};

// Adds a new node to the detached nodes of its tree.
template <typename T> OktXmlNode *detached(OktXmlTree &tree, T *made)
{
    std::unique_ptr<xmlNode, FreeNode> node(reinterpret_cast<xmlNodePtr>(needed(made)));
    needed(node->name); // null after a failed allocation
    tree.detached.insert(node.get());
    return wrapped(node.release());
}
} // namespace

// --- Nodes ---

void IXMLDOMNode::appendChild(IXMLDOMNodePtr const &child) const
{
    xmlNodePtr const node = raw(child->m_node);
    if (child->m_tree == m_tree)
    {
        xmlUnlinkNode(node);
        needed(xmlAddChild(raw(m_node), node));
        m_tree->detached.erase(node);
        return;
    }
    // A node of another document stays there, because its texts are that document's. A copy is added.
    needed(xmlAddChild(raw(m_node), needed(xmlDocCopyNode(node, m_tree->document, 1))));
}

// Only documents and elements have children here.
IXMLDOMNodePtr IXMLDOMNode::firstChild() const
{
    xmlNodePtr const node = raw(m_node);
    bool const hasChildren = node->type == XML_ELEMENT_NODE || node->type == XML_DOCUMENT_NODE;
    return nodePtr(m_tree, hasChildren ? node->children : nullptr);
}

IXMLDOMNodePtr IXMLDOMNode::nextSibling() const { return nodePtr(m_tree, raw(m_node)->next); }

CString IXMLDOMNode::nodeName() const
{
    xmlNodePtr const node = raw(m_node);
    std::string name;
    if ((node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE) && node->ns != nullptr &&
        node->ns->prefix != nullptr)
        name = std::string(viewOf(node->ns->prefix)) + ":";
    return CString::FromUtf8(name.append(viewOf(node->name)));
}

bool IXMLDOMNode::isNamed(OktXmlName const &name) const { return hasName(raw(m_node), name.text()); }

CString IXMLDOMNode::text() const
{
    xmlNodePtr const node = raw(m_node);
    return node->type == XML_ATTRIBUTE_NODE ? CString::FromUtf8(contentOf(node)) : CString();
}

VARIANT IXMLDOMNode::nodeValue() const
{
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_NULL;
    if (raw(m_node)->type == XML_ATTRIBUTE_NODE)
    {
        value.bstrVal = text().AllocSysString();
        value.vt = VT_BSTR;
    }
    return value;
}

IXMLDOMNamedNodeMapPtr IXMLDOMNode::attributes() const
{
    return raw(m_node)->type == XML_ELEMENT_NODE ? IXMLDOMNamedNodeMapPtr(m_tree, m_node) : IXMLDOMNamedNodeMapPtr();
}

IXMLDOMElementPtr IXMLDOMNode::element() const
{
    return raw(m_node)->type == XML_ELEMENT_NODE ? IXMLDOMElementPtr(m_tree, m_node) : IXMLDOMElementPtr();
}

IXMLDOMNodePtr IXMLDOMElement::node() const { return IXMLDOMNodePtr(m_tree, m_node); }

void IXMLDOMAttribute::setValue(VARIANT const &value) const { setText(OktXmlText::attributeText(value)); }

void IXMLDOMAttribute::setText(CString const &text) const
{
    xmlNodePtr const attribute = raw(m_node);
    std::string const value = valueText(text);
    xmlFreeNodeList(attribute->children);
    attribute->children = nullptr;
    attribute->last = nullptr;
    if (value.empty())
        return;
    if (value.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw std::bad_alloc();
    Silence const silence;
    std::unique_ptr<xmlNode, FreeNode> made(
        needed(xmlNewDocTextLen(attribute->doc, xmlText(value), static_cast<int>(value.size()))));
    needed(made->content);
    xmlNodePtr const content = made.release();
    content->parent = attribute;
    attribute->children = content;
    attribute->last = content;
}

IXMLDOMAttributePtr IXMLDOMNamedNodeMap::getNamedItem(OktXmlName const &name) const
{
    for (xmlAttrPtr attribute = raw(m_node)->properties; attribute != nullptr; attribute = attribute->next)
        if (hasName(reinterpret_cast<xmlNodePtr>(attribute), name.text()))
            return IXMLDOMAttributePtr(m_tree, wrapped(attribute));
    return nullptr;
}

void IXMLDOMNamedNodeMap::setNamedItem(IXMLDOMAttributePtr const &attribute) const
{
    xmlNodePtr const node = raw(attribute->m_node);
    needed(xmlAddChild(raw(m_node), node));
    m_tree->detached.erase(node);
}

// --- Documents ---

std::shared_ptr<IXMLDOMDocument> IXMLDOMDocument::create()
{
    [[maybe_unused]] static bool const ready = (xmlInitParser(), true);
    auto tree = std::make_shared<OktXmlTree>();
    tree->document = xmlNewDoc(reinterpret_cast<xmlChar const *>("1.0"));
    return tree->document == nullptr ? nullptr : std::make_shared<IXMLDOMDocument>(tree);
}

IXMLDOMNodePtr IXMLDOMDocument::node() const { return IXMLDOMNodePtr(m_tree, wrapped(m_tree->document)); }

IXMLDOMNodePtr IXMLDOMDocument::createProcessingInstruction(CString const &target, CString const &data) const
{
    if (!OktXmlText::isName(target.View()))
        return nullptr;
    std::string const name = target.ToUtf8();
    std::string const text = valueText(data);
    Silence const silence;
    OktXmlNode *const made = detached(*m_tree, xmlNewDocPI(m_tree->document, xmlText(name), xmlText(text)));
    needed(raw(made)->content);
    return IXMLDOMNodePtr(m_tree, made);
}

IXMLDOMElementPtr IXMLDOMDocument::createElement(CString const &name) const
{
    if (!OktXmlText::isName(name.View()))
        return nullptr;
    std::string const tag = name.ToUtf8();
    Silence const silence;
    return IXMLDOMElementPtr(m_tree, detached(*m_tree, xmlNewDocNode(m_tree->document, nullptr, xmlText(tag), nullptr)));
}

IXMLDOMAttributePtr IXMLDOMDocument::createAttribute(CString const &name) const
{
    if (!OktXmlText::isName(name.View()))
        return nullptr;
    std::string const tag = name.ToUtf8();
    Silence const silence;
    return IXMLDOMAttributePtr(m_tree, detached(*m_tree, xmlNewDocProp(m_tree->document, xmlText(tag), nullptr)));
}

HRESULT IXMLDOMDocument::load(CString const &path) const
{
    CFile file;
    if (!file.Open(path, CFile::modeRead | CFile::shareDenyWrite))
        return S_FALSE;
    Silence const silence;
    xmlParserCtxtPtr const parser = needed(xmlNewParserCtxt());
    int defaults = 0;
    parser->_private = &defaults;
    parser->sax->entityDecl = &declareEntity;
    parser->sax->attributeDecl = &declareAttribute;
    constexpr int kOptions = XML_PARSE_NOENT | XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
    OktXmlTree read;
    read.document = xmlCtxtReadIO(parser, &readFile, &closeNothing, &file, nullptr, nullptr, kOptions);
    bool const hadMemory = silence.hasMemory() && parser->errNo != XML_ERR_NO_MEMORY;
    xmlFreeParserCtxt(parser);
    if (!hadMemory)
        throw std::bad_alloc();
    if (read.document == nullptr || !tidy(read.document))
        return S_FALSE;
    addInstruction(read.document);
    std::swap(m_tree->document, read.document);
    return S_OK;
}

// The whole text is made before the file is opened: a failure leaves the old file.
HRESULT IXMLDOMDocument::save(CString const &path) const
{
    Silence const silence;
    std::unique_ptr<xmlBuffer, void (*)(xmlBufferPtr)> const text(needed(xmlBufferCreate()), xmlBufferFree);
    xmlSaveCtxtPtr const saver = needed(xmlSaveToBuffer(text.get(), kSavedEncoding, XML_SAVE_NO_DECL | XML_SAVE_AS_XML));
    long const written = xmlSaveDoc(saver, m_tree->document);
    int const closed = xmlSaveClose(saver);
    if (written < 0 || closed < 0 || !silence.hasMemory())
        return E_FAIL;
    auto const size = static_cast<UINT>(xmlBufferLength(text.get()));
    CFile file;
    if (!file.OpenWithRoom(path, CFile::modeCreate | CFile::modeWrite | CFile::shareDenyWrite, size))
        return E_FAIL;
    try
    {
        file.Write(xmlBufferContent(text.get()), size);
        file.Close();
    }
    catch (CFileException const &)
    {
        return E_FAIL;
    }
    return S_OK;
}
} // namespace OktXml
