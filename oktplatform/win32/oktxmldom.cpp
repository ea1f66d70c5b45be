// SPDX-License-Identifier: MIT
// The system's parser, reached through COM, behind the names of this layer.
//
// The parser returns a new pointer for each request of a node, and two of them cannot be compared. So each node that was requested has
// one OktXmlNode here, which knows its neighbours. Each change of a document goes through this file.

#include <oktplatform/oktxmldom.h>

#include <oktplatform/oktfile.h>
#include <oktplatform/oktxmlname_internal.h>
#include <oktplatform/win32/oktxmlprolog.h>

#include <msxml2.h>
#include <objbase.h>
#include <oleauto.h>

#include <deque>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace
{
constexpr GUID kDocumentClass = {0x2933BF90, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr GUID kDocumentInterface = {0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr GUID kNodeInterface = {0x2933BF80, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr GUID kAttributeInterface = {0x2933BF85, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

constexpr std::size_t kMostDepth = 256;

/// A counted pointer to an interface.
template <typename T> class Com
{
public:
    Com() = default;
    explicit Com(T *owned) : m_pointer(owned) {}
    Com(Com const &other) : m_pointer(other.m_pointer)
    {
        if (m_pointer != nullptr)
            m_pointer->AddRef();
    }
    Com(Com &&other) noexcept : m_pointer(std::exchange(other.m_pointer, nullptr)) {}
    Com &operator=(Com other) noexcept
    {
        std::swap(m_pointer, other.m_pointer);
        return *this;
    }
    ~Com() { reset(); }

    void reset()
    {
        if (T *const last = std::exchange(m_pointer, nullptr))
            last->Release();
    }
    T *get() const { return m_pointer; }
    T *operator->() const { return m_pointer; }
    explicit operator bool() const { return m_pointer != nullptr; }
    /// The place where a call stores a pointer.
    T **out()
    {
        reset();
        return &m_pointer;
    }

private:
    T *m_pointer = nullptr;
};

using ComNode = Com<::IXMLDOMNode>;

/// A system string, freed by the destructor.
class Bstr
{
public:
    explicit Bstr(OktTextView text) : m_text(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())))
    {
        if (m_text == nullptr)
            throw std::bad_alloc();
    }
    Bstr() = default;
    Bstr(Bstr const &) = delete;
    Bstr &operator=(Bstr const &) = delete;
    ~Bstr() { SysFreeString(m_text); }

    BSTR get() const { return m_text; }
    BSTR *out() { return &m_text; }
    OktTextView view() const { return m_text == nullptr ? OktTextView() : OktTextView(m_text, SysStringLen(m_text)); }
    CString text() const { return CString(view()); }

private:
    BSTR m_text = nullptr;
};

void check(HRESULT result)
{
    if (result == E_OUTOFMEMORY)
        throw std::bad_alloc();
    if (FAILED(result))
        throw COleException(result);
}

/// COM on the calling thread, until the destructor.
class Apartment
{
public:
    Apartment() : m_entered(SUCCEEDED(CoInitialize(nullptr))) {}
    Apartment(Apartment const &) = delete;
    Apartment &operator=(Apartment const &) = delete;
    ~Apartment()
    {
        if (m_entered)
            CoUninitialize();
    }

private:
    bool m_entered;
};
} // namespace

namespace OktXml
{
struct OktXmlNode
{
    ComNode com;
    DOMNodeType type = NODE_INVALID;
    std::string name; // UTF-8
    OktXmlNode *parent = nullptr;
    OktXmlNode *first = nullptr;
    OktXmlNode *last = nullptr;
    OktXmlNode *next = nullptr;
    bool knowsChildren = false;
    std::map<std::string, OktXmlNode *> attributes; // those that were requested
};

struct OktXmlTree
{
    Apartment apartment;
    Com<::IXMLDOMDocument> document;
    std::string documentType; // the name in a document that was read
    std::deque<OktXmlNode> nodes;
    OktXmlNode *root = nullptr;
};

namespace
{
OktXmlNode *entered(OktXmlTree &tree, ComNode com)
{
    OktXmlNode node;
    check(com->get_nodeType(&node.type));
    if (node.type == NODE_DOCUMENT_TYPE)
        node.name = tree.documentType; // Wine searches for a prefix, and may not return
    else
    {
        Bstr name;
        check(com->get_nodeName(name.out()));
        node.name = name.text().ToUtf8();
    }
    node.com = std::move(com);
    tree.nodes.push_back(std::move(node));
    return &tree.nodes.back();
}

/// A new node without children.
OktXmlNode *made(OktXmlTree &tree, ComNode com)
{
    OktXmlNode *const node = entered(tree, std::move(com));
    node->knowsChildren = true;
    return node;
}

void linkLast(OktXmlNode &parent, OktXmlNode &child)
{
    child.parent = &parent;
    child.next = nullptr;
    (parent.last == nullptr ? parent.first : parent.last->next) = &child;
    parent.last = &child;
}

void unlink(OktXmlNode &child)
{
    OktXmlNode *const parent = std::exchange(child.parent, nullptr);
    if (parent == nullptr)
        return;
    OktXmlNode *before = nullptr;
    for (OktXmlNode *node = parent->first; node != &child; node = node->next)
        before = node;
    (before == nullptr ? parent->first : before->next) = child.next;
    if (parent->last == &child)
        parent->last = before;
    child.next = nullptr;
}

// Uses the list of children instead of the neighbours: under Wine a document type has none.
Com<::IXMLDOMNodeList> childrenOf(ComNode const &node)
{
    Com<::IXMLDOMNodeList> list;
    check(node->get_childNodes(list.out()));
    return list;
}

ComNode nextOf(Com<::IXMLDOMNodeList> const &list)
{
    ComNode node;
    if (list)
        check(list->nextNode(node.out()));
    return node;
}

/// Reads the children of a node. Only documents and elements have children here.
void learnChildren(OktXmlTree &tree, OktXmlNode &node)
{
    if (node.knowsChildren)
        return;
    node.knowsChildren = true;
    if (node.type != NODE_ELEMENT && node.type != NODE_DOCUMENT)
        return;
    Com<::IXMLDOMNodeList> const children = childrenOf(node.com);
    while (ComNode child = nextOf(children))
        linkLast(node, *entered(tree, std::move(child)));
}

/// The text with U+FFFD for each character that XML 1.0 does not allow.
CString valueText(CString const &text)
{
    CString copy = text.Owned();
    for (int i = 0; i < copy.GetLength(); ++i)
    {
        WCHAR const unit = copy.GetAt(i);
        bool const isHigh = unit >= 0xD800 && unit <= 0xDBFF;
        bool const isLow = unit >= 0xDC00 && unit <= 0xDFFF;
        if (isHigh && i + 1 < copy.GetLength() && copy.GetAt(i + 1) >= 0xDC00 && copy.GetAt(i + 1) <= 0xDFFF)
            ++i;
        else if (isHigh || isLow || !OktXmlText::isCharacter(unit))
            copy.SetAt(i, 0xFFFD);
    }
    return copy;
}

/// A copy of a node of one document in another one.
ComNode copied(OktXmlNode const &source)
{
    ComNode copy;
    check(source.com->cloneNode(VARIANT_TRUE, copy.out()));
    return copy;
}

bool isWithinBounds(OktXmlTree &tree)
{
    std::vector<Com<::IXMLDOMNodeList>> lists; // one for each element that is open
    lists.push_back(childrenOf(tree.root->com));
    while (!lists.empty())
    {
        ComNode const node = nextOf(lists.back());
        if (!node)
        {
            lists.pop_back();
            continue;
        }
        if (lists.size() > kMostDepth)
            return false;
        DOMNodeType type = NODE_INVALID;
        check(node->get_nodeType(&type));
        if (type == NODE_ELEMENT)
            lists.push_back(childrenOf(node));
    }
    return true;
}

/// The bytes of a file in an array for the parser. The parser does not get the path, which it could take for a network address.
class FileImage
{
public:
    explicit FileImage(CFile &file)
    {
        ULONGLONG const length = file.GetLength();
        if (length > static_cast<ULONGLONG>(std::numeric_limits<LONG>::max()))
            throw std::bad_alloc();
        m_array.reset(SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(length)));
        if (m_array == nullptr)
            throw std::bad_alloc();
        if (file.Read(m_array->pvData, static_cast<UINT>(length)) != length)
            throw CFileException();
    }

    OktXmlProlog::Prolog prolog() const
    {
        return OktXmlProlog::look(static_cast<unsigned char const *>(m_array->pvData), m_array->rgsabound[0].cElements);
    }

    /// Owned by this object.
    VARIANT variant() const
    {
        VARIANT value;
        VariantInit(&value);
        value.vt = VT_ARRAY | VT_UI1;
        value.parray = m_array.get();
        return value;
    }

private:
    struct Destroy
    {
        void operator()(SAFEARRAY *array) const { SafeArrayDestroy(array); }
    };
    std::unique_ptr<SAFEARRAY, Destroy> m_array;
};

/// Writes all that a stream in memory holds.
void writeStream(IStream &stream, CFile &file)
{
    LARGE_INTEGER start;
    start.QuadPart = 0;
    check(stream.Seek(start, STREAM_SEEK_SET, nullptr));
    char piece[16384];
    for (;;)
    {
        ULONG count = 0;
        check(stream.Read(piece, sizeof piece, &count));
        if (count == 0)
            return;
        file.Write(piece, count);
    }
}
} // namespace

// --- Nodes ---

void IXMLDOMNode::appendChild(IXMLDOMNodePtr const &child) const
{
    OktXmlNode &node = *child->m_node;
    learnChildren(*m_tree, *m_node);
    ComNode result;
    if (child->m_tree == m_tree)
    {
        check(m_node->com->appendChild(node.com.get(), result.out()));
        unlink(node);
        linkLast(*m_node, node);
        return;
    }
    // A node of another document stays there. A copy is added.
    ComNode copy = copied(node);
    check(m_node->com->appendChild(copy.get(), result.out()));
    linkLast(*m_node, *entered(*m_tree, result ? std::move(result) : std::move(copy)));
}

IXMLDOMNodePtr IXMLDOMNode::firstChild() const
{
    learnChildren(*m_tree, *m_node);
    return m_node->first == nullptr ? IXMLDOMNodePtr() : IXMLDOMNodePtr(m_tree, m_node->first);
}

IXMLDOMNodePtr IXMLDOMNode::nextSibling() const
{
    return m_node->next == nullptr ? IXMLDOMNodePtr() : IXMLDOMNodePtr(m_tree, m_node->next);
}

CString IXMLDOMNode::nodeName() const { return CString::FromUtf8(m_node->name); }

bool IXMLDOMNode::isNamed(OktXmlName const &name) const { return m_node->name == name.text(); }

CString IXMLDOMNode::text() const
{
    if (m_node->type != NODE_ATTRIBUTE)
        return CString();
    VARIANT const value = nodeValue();
    CString const text(OktTextView(value.bstrVal, SysStringLen(value.bstrVal)));
    SysFreeString(value.bstrVal);
    return text;
}

VARIANT IXMLDOMNode::nodeValue() const
{
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_NULL;
    if (m_node->type != NODE_ATTRIBUTE)
        return value;
    VariantInit(&value);
    check(m_node->com->get_nodeValue(&value));
    if (value.vt != VT_BSTR)
    {
        VariantClear(&value);
        value.bstrVal = CString().AllocSysString();
        value.vt = VT_BSTR;
    }
    return value;
}

IXMLDOMNamedNodeMapPtr IXMLDOMNode::attributes() const
{
    return m_node->type == NODE_ELEMENT ? IXMLDOMNamedNodeMapPtr(m_tree, m_node) : IXMLDOMNamedNodeMapPtr();
}

IXMLDOMElementPtr IXMLDOMNode::element() const
{
    return m_node->type == NODE_ELEMENT ? IXMLDOMElementPtr(m_tree, m_node) : IXMLDOMElementPtr();
}

IXMLDOMNodePtr IXMLDOMElement::node() const { return IXMLDOMNodePtr(m_tree, m_node); }

void IXMLDOMAttribute::setValue(VARIANT const &value) const { setText(OktXmlText::attributeText(value)); }

void IXMLDOMAttribute::setText(CString const &text) const
{
    Bstr const held(valueText(text).View());
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_BSTR;
    value.bstrVal = held.get();
    Com<::IXMLDOMAttribute> attribute;
    check(m_node->com->QueryInterface(kAttributeInterface, reinterpret_cast<void **>(attribute.out())));
    check(attribute->put_value(value));
}

IXMLDOMAttributePtr IXMLDOMNamedNodeMap::getNamedItem(OktXmlName const &name) const
{
    auto const known = m_node->attributes.find(name.text());
    if (known != m_node->attributes.end())
        return IXMLDOMAttributePtr(m_tree, known->second);
    Com<::IXMLDOMNamedNodeMap> map;
    check(m_node->com->get_attributes(map.out()));
    ComNode item;
    check(map->getNamedItem(Bstr(CString::FromUtf8(name.text()).View()).get(), item.out()));
    if (!item)
        return nullptr;
    OktXmlNode *const node = entered(*m_tree, std::move(item));
    m_node->attributes.emplace(name.text(), node);
    return IXMLDOMAttributePtr(m_tree, node);
}

void IXMLDOMNamedNodeMap::setNamedItem(IXMLDOMAttributePtr const &attribute) const
{
    OktXmlNode *const node = attribute->m_node;
    Com<::IXMLDOMNamedNodeMap> map;
    check(m_node->com->get_attributes(map.out()));
    ComNode result;
    check(map->setNamedItem(node->com.get(), result.out()));
    m_node->attributes.insert_or_assign(node->name, node);
}

// --- Documents ---

std::shared_ptr<IXMLDOMDocument> IXMLDOMDocument::create()
{
    auto tree = std::make_shared<OktXmlTree>();
    Com<IUnknown> object;
    if (FAILED(CoCreateInstance(kDocumentClass, nullptr, CLSCTX_ALL, IID_IUnknown, reinterpret_cast<void **>(object.out()))) ||
        FAILED(OleRun(object.get())) ||
        FAILED(object->QueryInterface(kDocumentInterface, reinterpret_cast<void **>(tree->document.out()))))
        return nullptr;
    // `load` returns the complete tree and opens no other file.
    tree->document->put_async(VARIANT_FALSE);
    tree->document->put_validateOnParse(VARIANT_FALSE);
    tree->document->put_resolveExternals(VARIANT_FALSE);
    ComNode root;
    check(tree->document->QueryInterface(kNodeInterface, reinterpret_cast<void **>(root.out())));
    tree->root = made(*tree, std::move(root));
    return std::make_shared<IXMLDOMDocument>(tree);
}

IXMLDOMNodePtr IXMLDOMDocument::node() const { return IXMLDOMNodePtr(m_tree, m_tree->root); }

IXMLDOMNodePtr IXMLDOMDocument::createProcessingInstruction(CString const &target, CString const &data) const
{
    if (!OktXmlText::isName(target.View()))
        return nullptr;
    Com<::IXMLDOMProcessingInstruction> instruction;
    if (FAILED(m_tree->document->createProcessingInstruction(Bstr(target.View()).get(), Bstr(valueText(data).View()).get(),
                                                             instruction.out())))
        return nullptr;
    ComNode node;
    check(instruction->QueryInterface(kNodeInterface, reinterpret_cast<void **>(node.out())));
    return IXMLDOMNodePtr(m_tree, made(*m_tree, std::move(node)));
}

IXMLDOMElementPtr IXMLDOMDocument::createElement(CString const &name) const
{
    if (!OktXmlText::isName(name.View()))
        return nullptr;
    Com<::IXMLDOMElement> element;
    if (FAILED(m_tree->document->createElement(Bstr(name.View()).get(), element.out())))
        return nullptr;
    ComNode node;
    check(element->QueryInterface(kNodeInterface, reinterpret_cast<void **>(node.out())));
    return IXMLDOMElementPtr(m_tree, made(*m_tree, std::move(node)));
}

IXMLDOMAttributePtr IXMLDOMDocument::createAttribute(CString const &name) const
{
    if (!OktXmlText::isName(name.View()))
        return nullptr;
    Com<::IXMLDOMAttribute> attribute;
    if (FAILED(m_tree->document->createAttribute(Bstr(name.View()).get(), attribute.out())))
        return nullptr;
    ComNode node;
    check(attribute->QueryInterface(kNodeInterface, reinterpret_cast<void **>(node.out())));
    return IXMLDOMAttributePtr(m_tree, made(*m_tree, std::move(node)));
}

HRESULT IXMLDOMDocument::load(CString const &path) const
{
    CFile file;
    if (!file.Open(path, CFile::modeRead | CFile::shareDenyWrite))
        return S_FALSE;
    VARIANT_BOOL parsed = VARIANT_FALSE;
    try
    {
        FileImage const image(file);
        OktXmlProlog::Prolog prolog = image.prolog();
        if (prolog.mayDeclareParameterEntity)
            return S_FALSE;
        m_tree->documentType = std::move(prolog.documentType);
        HRESULT const result = m_tree->document->load(image.variant(), &parsed);
        if (result == E_OUTOFMEMORY)
            throw std::bad_alloc();
    }
    catch (CFileException const &)
    {
        return S_FALSE;
    }
    if (parsed != VARIANT_TRUE || !isWithinBounds(*m_tree))
        return S_FALSE; // no children were read yet, so the document is empty here
    m_tree->root->knowsChildren = false;
    return S_OK;
}

// The whole text is made before the file is opened: a failure leaves the old file.
HRESULT IXMLDOMDocument::save(CString const &path) const
{
    Com<IStream> stream;
    check(CreateStreamOnHGlobal(nullptr, TRUE, stream.out()));
    VARIANT target;
    VariantInit(&target);
    target.vt = VT_UNKNOWN;
    target.punkVal = stream.get();
    HRESULT const saved = m_tree->document->save(target);
    if (saved != S_OK)
        return FAILED(saved) ? saved : E_FAIL;
    LARGE_INTEGER const start{};
    ULARGE_INTEGER size{};
    check(stream->Seek(start, STREAM_SEEK_END, &size));
    CFile file;
    if (!file.OpenWithRoom(path, CFile::modeCreate | CFile::modeWrite | CFile::shareDenyWrite, size.QuadPart))
        return E_FAIL;
    try
    {
        writeStream(*stream.get(), file);
        file.Close();
    }
    catch (CFileException const &)
    {
        return E_FAIL;
    }
    return S_OK;
}
} // namespace OktXml
