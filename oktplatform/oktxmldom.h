// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktstring.h>
#include <oktplatform/oktvariant.h>

#include <memory>
#include <utility>

// The document object model of the platform's XML parser, as far as the XML filer uses it, under the parser's own names.
//
// A node is used through a small pointer, which keeps the whole document in memory. A node that was created and never attached
// is freed with its document. Using a null pointer throws COleException (E_POINTER). A document belongs to one thread at a time.
//
// Names are those of XML 1.0 with characters up to U+00FF, because documents are saved in ISO-8859-1: createElement and
// createAttribute return null for all other texts. Characters that XML 1.0 does not allow (most control characters, U+FFFE, U+FFFF,
// lone surrogates) become U+FFFD when a value is set.

// In a namespace, because a program on the platform may include the parser's own declarations.
namespace OktXml
{
class IXMLDOMAttribute;
class IXMLDOMElement;
class IXMLDOMNamedNodeMap;
class IXMLDOMNode;

/// The tree of a back end and a node of it. Only the back end defines them.
struct OktXmlTree;
struct OktXmlNode;

/// A pointer to a node.
template <typename T> class OktXmlPtr
{
public:
    /// Null, or a node of a tree.
    OktXmlPtr() = default;
    OktXmlPtr(std::nullptr_t) {} // NOLINT(google-explicit-constructor)
    OktXmlPtr(std::shared_ptr<OktXmlTree> tree, OktXmlNode *node) : m_target(std::move(tree), node) {}

    /// True: not null.
    explicit operator bool() const { return m_target.m_node != nullptr; }
    /// True: both are null or the same node.
    bool operator==(OktXmlPtr const &other) const { return m_target.m_node == other.m_target.m_node; }
    /// The node. Throws COleException (E_POINTER) for null.
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

/// A name, converted once for many comparisons.
class OKT_API OktXmlName
{
public:
    /// Converts the name.
    explicit OktXmlName(CString const &name) : m_text(name.ToUtf8()) {}

    /// The name in UTF-8.
    std::string const &text() const { return m_text; }

private:
    std::string m_text;
};

/// A node of a document.
class OKT_API IXMLDOMNode
{
public:
    // Used by the pointers.
    IXMLDOMNode() = default;
    IXMLDOMNode(std::shared_ptr<OktXmlTree> tree, OktXmlNode *node) : m_tree(std::move(tree)), m_node(node) {}

    /// Appends a node that has no parent as the last child.
    void appendChild(OktXmlPtr<IXMLDOMNode> const &child) const;
    /// The first child and the next node of the same parent, or null. Children are nodes of every kind except white space between
    /// elements.
    OktXmlPtr<IXMLDOMNode> firstChild() const;
    OktXmlPtr<IXMLDOMNode> nextSibling() const;
    /// The tag of an element, the target of an instruction, the name of an attribute.
    CString nodeName() const;
    /// Compares the name without converting it.
    bool isNamed(OktXmlName const &name) const;
    /// The text of an attribute as a VT_BSTR, which the caller frees. Other nodes return VT_NULL.
    VARIANT nodeValue() const;
    /// The text of an attribute. Other nodes return an empty text.
    CString text() const;
    /// The attributes and the element of this node. Both are null if the node is no element.
    OktXmlPtr<IXMLDOMNamedNodeMap> attributes() const;
    OktXmlPtr<IXMLDOMElement> element() const;

protected:
    template <typename T> friend class OktXmlPtr;
    friend class IXMLDOMNamedNodeMap;

    std::shared_ptr<OktXmlTree> m_tree;
    OktXmlNode *m_node = nullptr;
};

/// An element.
class OKT_API IXMLDOMElement : public IXMLDOMNode
{
public:
    using IXMLDOMNode::IXMLDOMNode;

    /// The element as a node.
    OktXmlPtr<IXMLDOMNode> node() const;
};

/// An attribute.
class OKT_API IXMLDOMAttribute : public IXMLDOMNode
{
public:
    using IXMLDOMNode::IXMLDOMNode;

    /// Sets the text: a VT_BSTR as it is, VT_I2, VT_I4 and VT_UI4 in decimal, other kinds as an empty text.
    void setValue(VARIANT const &value) const;
    /// Sets the text.
    void setText(CString const &text) const;
};

/// The attributes of an element.
class OKT_API IXMLDOMNamedNodeMap
{
public:
    // Used by the pointers.
    IXMLDOMNamedNodeMap() = default;
    IXMLDOMNamedNodeMap(std::shared_ptr<OktXmlTree> tree, OktXmlNode *element) : m_tree(std::move(tree)), m_node(element) {}

    /// The attribute of that name, or null.
    OktXmlPtr<IXMLDOMAttribute> getNamedItem(OktXmlName const &name) const;
    /// Appends an attribute that has no element.
    void setNamedItem(OktXmlPtr<IXMLDOMAttribute> const &attribute) const;

private:
    template <typename T> friend class OktXmlPtr;

    std::shared_ptr<OktXmlTree> m_tree;
    OktXmlNode *m_node = nullptr;
};

/// A document.
class OKT_API IXMLDOMDocument
{
public:
    /// A new, empty document. Null: the parser is missing, or no memory.
    static std::shared_ptr<IXMLDOMDocument> create();

    // Used by create.
    explicit IXMLDOMDocument(std::shared_ptr<OktXmlTree> tree) : m_tree(std::move(tree)) {}

    /// The document as a node.
    IXMLDOMNodePtr node() const;
    /// A new node that is not attached. Null: the name is not allowed.
    IXMLDOMNodePtr createProcessingInstruction(CString const &target, CString const &data) const;
    IXMLDOMElementPtr createElement(CString const &name) const;
    IXMLDOMAttributePtr createAttribute(CString const &name) const;
    /// Reads a whole file into an empty document. The "xml" instruction of the file becomes the first node. External entities are
    /// empty, and no other file is opened. The expansion of entities, the depth of elements (256) and the length of a text (10 million
    /// bytes) are limited. A file that cannot be read or parsed leaves the document empty.
    HRESULT load(CString const &path) const;
    /// Writes the document in ISO-8859-1, with references for all other characters. The result of a failure is negative.
    HRESULT save(CString const &path) const;

private:
    std::shared_ptr<OktXmlTree> m_tree;
};

/// A shared pointer to a document.
class OKT_API IXMLDOMDocumentPtr
{
public:
    /// Null, or a document.
    IXMLDOMDocumentPtr() = default;
    IXMLDOMDocumentPtr(std::shared_ptr<IXMLDOMDocument> document) : m_document(std::move(document)) {} // NOLINT

    /// True: not null.
    explicit operator bool() const { return m_document != nullptr; }
    /// The document. Throws COleException (E_POINTER) for null.
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

using OktXml::OktXmlName;

// The names of the parser, global where the system has none.
#include OKT_NATIVE(oktnativexml.h)
