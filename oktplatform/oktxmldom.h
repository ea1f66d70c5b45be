#pragma once

#include <oktplatform/oktstring.h>
#include <oktplatform/oktvariant.h>

#include <memory>
#include <utility>

// The document object model of the platform's XML parser, as far as the XML filer uses it, under the parser's own names. What
// stands behind it is told nowhere but in the back end.
//
// Nodes are named by light pointers, which keep the whole document alive. A node that was made and never attached belongs to
// the document, too, and goes with it. Using a null pointer throws COleException (E_POINTER). Not for two threads at a time.
//
// Names are those of XML 1.0 with characters up to U+00FF, since documents are saved in ISO-8859-1: createElement and
// createAttribute give null for any other text. Characters that XML 1.0 cannot
// hold (most control characters, U+FFFE, U+FFFF, lone surrogates) become U+FFFD when a value is set.

// They stand in a namespace, because a program on the platform may include the parser's own declarations.
namespace OktXml
{
class IXMLDOMAttribute;
class IXMLDOMElement;
class IXMLDOMNamedNodeMap;
class IXMLDOMNode;

/// The tree of a back end, and a node of it. Only the back end looks inside.
struct OktXmlTree;
struct OktXmlNode;

template <typename T> class OktXmlPtr
{
public:
    OktXmlPtr() = default;
    OktXmlPtr(std::nullptr_t) {} // NOLINT(google-explicit-constructor)
    OktXmlPtr(std::shared_ptr<OktXmlTree> tree, OktXmlNode *node) : m_target(std::move(tree), node) {}

    explicit operator bool() const { return m_target.m_node != nullptr; }
    bool operator==(OktXmlPtr const &other) const { return m_target.m_node == other.m_target.m_node; }
    T const *operator->() const
    {
        if (m_target.m_node == nullptr)
            throw COleException(E_POINTER);
        return &m_target;
    }

private:
    T m_target;
};

using IXMLDOMNodePtr = OktXmlPtr<IXMLDOMNode>;
using IXMLDOMElementPtr = OktXmlPtr<IXMLDOMElement>;
using IXMLDOMAttributePtr = OktXmlPtr<IXMLDOMAttribute>;
using IXMLDOMNamedNodeMapPtr = OktXmlPtr<IXMLDOMNamedNodeMap>;

/// A name in the form in which the back end compares names.
class OKT_API OktXmlName
{
public:
    explicit OktXmlName(CString const &name) : m_text(name.ToUtf8()) {}
    std::string const &text() const { return m_text; }

private:
    std::string m_text;
};

class OKT_API IXMLDOMNode
{
public:
    IXMLDOMNode() = default;
    IXMLDOMNode(std::shared_ptr<OktXmlTree> tree, OktXmlNode *node) : m_tree(std::move(tree)), m_node(node) {}

    /// Adds a free node as the last child.
    void appendChild(OktXmlPtr<IXMLDOMNode> const &child) const;
    /// Null at the end. Children are nodes of every kind, but no white space between elements.
    OktXmlPtr<IXMLDOMNode> firstChild() const;
    OktXmlPtr<IXMLDOMNode> nextSibling() const;
    /// The tag of an element, the target of an instruction, the name of an attribute.
    CString nodeName() const;
    bool isNamed(OktXmlName const &name) const;
    /// The text of an attribute as a VT_BSTR that the caller owns; VT_NULL for other nodes.
    VARIANT nodeValue() const;
    /// The same as a text.
    CString text() const;
    /// Null for a node that is no element.
    OktXmlPtr<IXMLDOMNamedNodeMap> attributes() const;
    OktXmlPtr<IXMLDOMElement> element() const;

protected:
    template <typename T> friend class OktXmlPtr;
    friend class IXMLDOMNamedNodeMap;

    std::shared_ptr<OktXmlTree> m_tree;
    OktXmlNode *m_node = nullptr;
};

class OKT_API IXMLDOMElement : public IXMLDOMNode
{
public:
    using IXMLDOMNode::IXMLDOMNode;

    OktXmlPtr<IXMLDOMNode> node() const;
};

class OKT_API IXMLDOMAttribute : public IXMLDOMNode
{
public:
    using IXMLDOMNode::IXMLDOMNode;

    /// VT_BSTR as it stands; VT_I2, VT_I4 and VT_UI4 as decimal text.
    void setValue(VARIANT const &value) const;
    void setText(CString const &text) const;
};

class OKT_API IXMLDOMNamedNodeMap
{
public:
    IXMLDOMNamedNodeMap() = default;
    IXMLDOMNamedNodeMap(std::shared_ptr<OktXmlTree> tree, OktXmlNode *element) : m_tree(std::move(tree)), m_node(element) {}

    OktXmlPtr<IXMLDOMAttribute> getNamedItem(OktXmlName const &name) const;
    /// Adds a free attribute behind the others.
    void setNamedItem(OktXmlPtr<IXMLDOMAttribute> const &attribute) const;

private:
    template <typename T> friend class OktXmlPtr;

    std::shared_ptr<OktXmlTree> m_tree;
    OktXmlNode *m_node = nullptr;
};

/// A document. A pointer to one is null until `create`.
class OKT_API IXMLDOMDocument
{
public:
    /// A new, empty document; null when none can be made.
    static std::shared_ptr<IXMLDOMDocument> create();

    explicit IXMLDOMDocument(std::shared_ptr<OktXmlTree> tree) : m_tree(std::move(tree)) {}

    /// The document as a node.
    IXMLDOMNodePtr node() const;
    IXMLDOMNodePtr createProcessingInstruction(CString const &target, CString const &data) const;
    IXMLDOMElementPtr createElement(CString const &name) const;
    IXMLDOMAttributePtr createAttribute(CString const &name) const;
    /// Reads a whole file into a document that is still empty. The "xml" instruction of the file is the first node. External
    /// entities are taken as empty and nothing outside the file is opened; the expansion of entities, the depth of elements (256)
    /// and the length of a text (10 million bytes) are bounded. A file that cannot be read or parsed leaves the document without
    /// children.
    HRESULT load(CString const &path) const;
    /// Writes the document in ISO-8859-1, with character references for what that cannot hold.
    HRESULT save(CString const &path) const;

private:
    std::shared_ptr<OktXmlTree> m_tree;
};

/// A shared pointer that throws COleException (E_POINTER) instead of being used while null.
class OKT_API IXMLDOMDocumentPtr
{
public:
    IXMLDOMDocumentPtr() = default;
    IXMLDOMDocumentPtr(std::shared_ptr<IXMLDOMDocument> document) : m_document(std::move(document)) {} // NOLINT

    explicit operator bool() const { return m_document != nullptr; }
    IXMLDOMDocument const *operator->() const
    {
        if (m_document == nullptr)
            throw COleException(E_POINTER);
        return m_document.get();
    }

private:
    std::shared_ptr<IXMLDOMDocument> m_document;
};
} // namespace OktXml

#if !defined(_WIN32)
using OktXml::IXMLDOMAttribute;
using OktXml::IXMLDOMAttributePtr;
using OktXml::IXMLDOMDocument;
using OktXml::IXMLDOMDocumentPtr;
using OktXml::IXMLDOMElement;
using OktXml::IXMLDOMElementPtr;
using OktXml::IXMLDOMNamedNodeMap;
using OktXml::IXMLDOMNamedNodeMapPtr;
using OktXml::IXMLDOMNode;
using OktXml::IXMLDOMNodePtr;
#endif
using OktXml::OktXmlName;
