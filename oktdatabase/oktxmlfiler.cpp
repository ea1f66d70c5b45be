// SPDX-License-Identifier: MIT
#include <oktdatabase/oktxmlfiler.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktgexyz.h>
#include <oktplatform/oktnumber.h>

#include <typeinfo>

// The document: an "xml" instruction, then the root "Document". Below it stand elements alone, every value is an attribute:
// frames <name class version>, sections <Members version>, maps <Map name>, values <name double|long|string>.

using namespace OktXml;

namespace
{
constexpr char16_t kDocumentTag[] = u"Document";
constexpr char16_t kObjectTag[] = u"Object";
constexpr char16_t kMembersTag[] = u"Members";
constexpr char16_t kMapTag[] = u"Map";
constexpr char16_t kClass[] = u"class";
constexpr char16_t kVersion[] = u"version";
constexpr char16_t kName[] = u"name";
constexpr char16_t kDouble[] = u"double";
constexpr char16_t kLong[] = u"long";
constexpr char16_t kString[] = u"string";

// Versions and sections are 16-bit numbers in a document: 65537 stands as 1.
CString shortText(int number)
{
    CString text;
    text.Format(u"%d", static_cast<short>(number));
    return text;
}

// The attribute of a node, as far as the node has attributes and this one.
bool attributeText(IXMLDOMNodePtr const &node, OktXmlName const &name, CString &text)
{
    IXMLDOMNamedNodeMapPtr const attributes = node->attributes();
    if (!attributes)
        return false;
    IXMLDOMAttributePtr const attribute = attributes->getNamedItem(name);
    if (!attribute)
        return false;
    text = attribute->text();
    return true;
}
} // namespace

OKTXmlFiler::OKTXmlFiler(OKTDbPool *pool) : OKTFiler(pool) {}

OKTXmlFiler::~OKTXmlFiler()
{
    try
    {
        if (m_document)
            CloseFiler();
    }
    catch (...)
    {
        // A presenter has thrown.
    }
}

bool OKTXmlFiler::NewFiler(CString path, bool write)
try
{
    if (m_workingNodes.getSize() > 0)
        return false;
    m_path = path.Owned();
    m_nextObject = IXMLDOMNodePtr();
    m_document = IXMLDOMDocumentPtr();
    IXMLDOMDocumentPtr const document = OktXml::IXMLDOMDocument::create();
    if (!document)
        return false;
    setIsWriteEnabled(write);
    if (write)
    {
        document->node()->appendChild(document->createProcessingInstruction(u"xml", u"version='1.0' encoding='ISO-8859-1'"));
        IXMLDOMElementPtr const root = document->createElement(kDocumentTag);
        document->node()->appendChild(root->node());
        push(root);
        m_document = document; // only a whole one: CloseFiler saves what stands here over the file
        return true;
    }
    m_document = document;
    if (FAILED(m_document->load(path)))
        return false;
    IXMLDOMNodePtr const root = GetDocumentRealNode();
    if (!root)
        return false;
    push(root->element());
    return true;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::CloseFiler()
try
{
    if (m_path.IsEmpty() || !m_document)
        return false;
    bool const writing = getIsWriteEnabled();
    if (writing)
    {
        try
        {
            m_document->save(m_path);
        }
        catch (...)
        {
            // Whatever comes of it, the filer closes and says so (quirk 73).
        }
    }
    popWorkingNode();
    m_document = IXMLDOMDocumentPtr();
    if (!writing)
        setIsWriteEnabled(false);
    m_path.Empty();
    return true;
}
OKT_ANSWER_ZERO

IXMLDOMNodePtr OKTXmlFiler::GetDocumentRealNode()
try
{
    IXMLDOMNodePtr const first = m_document->node()->firstChild();
    if (first && first->nodeName() == u"xml")
        return first->nextSibling();
    return first;
}
OKT_ANSWER_ZERO

IXMLDOMElementPtr OKTXmlFiler::getWorkingNode()
try
{
    int const size = m_workingNodes.getSize();
    return size == 0 ? IXMLDOMElementPtr() : m_workingNodes.at(size - 1);
}
OKT_ANSWER_ZERO

IXMLDOMElementPtr OKTXmlFiler::popWorkingNode()
try
{
    IXMLDOMElementPtr const last = getWorkingNode();
    m_nextObject = IXMLDOMNodePtr();
    if (last)
        m_workingNodes.removeAt(m_workingNodes.getSize() - 1);
    return last;
}
OKT_ANSWER_ZERO

void OKTXmlFiler::pushWorkingNode(IXMLDOMElementPtr const &element)
try
{
    push(element);
}
OKT_ANSWER_NOTHING

// Raises where there is no memory: the operation that opens an element must not say that it did.
void OKTXmlFiler::push(IXMLDOMElementPtr const &element)
{
    m_nextObject = IXMLDOMNodePtr();
    if (element)
        m_workingNodes.append(element);
}

// --- Writing ---

bool OKTXmlFiler::addAttribute(IXMLDOMElementPtr const &element, CString const &name, CString const &text)
{
    IXMLDOMNamedNodeMapPtr const attributes = element->attributes();
    if (!attributes)
        return false;
    IXMLDOMAttributePtr const attribute = m_document->createAttribute(name);
    if (!attribute)
        return false;
    attribute->setText(text);
    attributes->setNamedItem(attribute);
    return true;
}

// Opens an element. It is attached to nothing before its end.
bool OKTXmlFiler::beginElement(CString const &tag, std::initializer_list<Attribute> attributes)
{
    if (!getIsWriteEnabled() || !m_document)
        return false;
    IXMLDOMElementPtr const element = m_document->createElement(tag);
    if (!element)
        return false;
    for (Attribute const &attribute : attributes)
        if (!addAttribute(element, attribute.name, attribute.text))
            return false;
    push(element);
    return true;
}

// Closes whatever is on top: the kinds of elements are not told apart. The last one to be closed is dropped.
bool OKTXmlFiler::endElement()
{
    if (!getIsWriteEnabled() || !getWorkingNode())
        return false;
    IXMLDOMElementPtr const ended = popWorkingNode();
    if (IXMLDOMElementPtr const parent = getWorkingNode())
        parent->appendChild(ended->node());
    return true;
}

bool OKTXmlFiler::CreateClass(CString tag, CString className, int version)
try
{
    return beginElement(tag, {{kClass, className}, {kVersion, shortText(version)}});
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::beginWriteClass(CString name, CString className, int version)
try
{
    return getIsWriteEnabled() && m_document && CreateClass(name, className, version);
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::endWriteClass()
try
{
    return endElement();
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::beginWriteMembers(int section)
try
{
    return beginElement(kMembersTag, {{kVersion, shortText(section)}});
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::endWriteMembers()
try
{
    return endElement();
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::beginWriteMap(CString name)
try
{
    return beginElement(kMapTag, {{kName, name}});
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::endWriteMap()
try
{
    return endElement();
}
OKT_ANSWER_ZERO

// The mode is not looked at: a value written into a document that is read lands in its tree and is never saved.
bool OKTXmlFiler::writeValue(CString const &name, CString const &attribute, CString const &text)
{
    IXMLDOMNodePtr const root = m_document->node(); // raises while the filer is closed
    IXMLDOMElementPtr const parent = getWorkingNode();
    if (!parent)
        return false;
    IXMLDOMElementPtr const element = m_document->createElement(name);
    if (!element || !addAttribute(element, attribute, text))
        return false;
    parent->appendChild(element->node());
    return true;
}

bool OKTXmlFiler::writeDouble(CString const &name, double const &value)
try
{
    CString text;
    text.Format(u"%.*f", 17, value);
    return writeValue(name, kDouble, text);
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::writeLong(CString const &name, unsigned long const &value)
try
{
    if (value > 0xFFFFFFFFu)
        return false;
    CString text;
    text.Format(u"%u", static_cast<std::uint32_t>(value));
    return writeValue(name, kLong, text);
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::writeLong(CString const &name, long const &value)
try
{
    if (value != static_cast<std::int32_t>(value))
        return false;
    CString text;
    text.Format(u"%d", static_cast<std::int32_t>(value));
    return writeValue(name, kLong, text);
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::writeString(CString const &name, CString const &value)
try
{
    return writeValue(name, kString, value);
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::writeObjectId(CString const &name, OKTDbObjectId const &value)
try
{
    return value.xmlOut(name, this) == eFilerOk;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::writePoint3d(CString const &name, OKTGeXYZ const &value)
try
{
    return value.xmlOut(name, this) == eFilerOk;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::writeBool(CString const &name, bool const &value)
try
{
    return writeLong(name, static_cast<long>(value ? 1 : 0));
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::writeBool(CString const &name, int const &value)
try
{
    return writeLong(name, static_cast<long>(value != 0 ? 1 : 0));
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::writeInt(CString const &name, unsigned int const &value)
try
{
    return writeLong(name, static_cast<unsigned long>(value));
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::writeInt(CString const &name, int const &value)
try
{
    return writeLong(name, static_cast<long>(value));
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::writeShort(CString const &name, unsigned short const &value)
try
{
    return writeLong(name, static_cast<unsigned long>(value));
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::writeShort(CString const &name, short const &value)
try
{
    return writeLong(name, static_cast<long>(value));
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::writeVariant(CString const &name, tagVARIANT const &value)
try
{
    return xmlOutVariant(name, value, this) == eFilerOk;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::writeByteArray(CString const &, CByteArray const &) { return false; }

// --- Reading ---

bool OKTXmlFiler::isReading() { return !getIsWriteEnabled() && getWorkingNode(); }

// The text of the first child of that name that has that attribute; a child that lacks it is passed over.
bool OKTXmlFiler::findText(CString const &name, CString const &attribute, CString &text)
{
    if (!isReading())
        return false;
    OktXmlName const tag(name);
    OktXmlName const kind(attribute);
    for (IXMLDOMNodePtr child = getWorkingNode()->firstChild(); child; child = child->nextSibling())
        if (child->isNamed(tag) && attributeText(child, kind, text))
            return true;
    return false;
}

bool OKTXmlFiler::readString(CString const &name, CString &value)
try
{
    CString text;
    bool const found = findText(name, kString, text);
    if (found)
        value = text;
    setReadingStalled(!found && typeid(*this) == typeid(OKTXmlFiler)); // a miss is a miss every time
    return found;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::readLong(CString const &name, unsigned long &value)
try
{
    CString text;
    if (!findText(name, kLong, text))
        return false;
    value = static_cast<std::uint32_t>(wcstoul(text.GetString(), nullptr, 10));
    return true;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::readLong(CString const &name, long &value)
try
{
    CString text;
    if (!findText(name, kLong, text))
        return false;
    value = _wtol(text.GetString());
    return true;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::readDouble(CString const &name, double &value)
try
{
    CString text;
    if (!findText(name, kDouble, text))
        return false;
    value = _wtof(text.GetString());
    return true;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::readObjectId(CString const &name, OKTDbObjectId &value)
try
{
    return value.xmlIn(name, this) == eFilerOk;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::readPoint3d(CString const &name, OKTGeXYZ &value)
try
{
    return value.xmlIn(name, this) == eFilerOk;
}
OKT_ANSWER_ZERO

// The readers of bool, int and short store zero on a miss (quirk 74).

bool OKTXmlFiler::readBool(CString const &name, bool &value)
try
{
    long number = 0;
    bool const found = readLong(name, number);
    value = number != 0;
    return found;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::readBool(CString const &name, int &value)
try
{
    long number = 0;
    bool const found = readLong(name, number);
    value = number != 0 ? 1 : 0;
    return found;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::readInt(CString const &name, unsigned int &value)
try
{
    unsigned long number = 0;
    bool const found = readLong(name, number);
    value = static_cast<unsigned int>(number);
    return found;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::readInt(CString const &name, int &value)
try
{
    long number = 0;
    bool const found = readLong(name, number);
    value = static_cast<int>(number);
    return found;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::readShort(CString const &name, unsigned short &value)
try
{
    unsigned long number = 0;
    bool const found = readLong(name, number);
    value = static_cast<unsigned short>(number);
    return found;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::readShort(CString const &name, short &value)
try
{
    long number = 0;
    bool const found = readLong(name, number);
    value = static_cast<short>(number);
    return found;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::readVariant(CString const &name, tagVARIANT &value)
try
{
    return xmlInVariant(name, value, this) == eFilerOk;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::readByteArray(CString const &, CByteArray &) { return false; }

// The node at which a scan at document level begins.
IXMLDOMNodePtr OKTXmlFiler::nextAtCursor()
{
    return m_readCursor ? m_readCursor->nextSibling() : getWorkingNode()->firstChild();
}

bool OKTXmlFiler::beginReadClass(CString name, CString className)
try
{
    bool const fromRoot = getIsReadingObjectFromRoot();
    setIsReadingObjectFromRoot(false); // good for one call, whatever comes of it
    if (name.IsEmpty())
        name = kObjectTag;
    if (!isReading())
        return false;
    OktXmlName const tag(name);
    OktXmlName const kind(kClass);
    IXMLDOMNodePtr child = fromRoot ? nextAtCursor() : getWorkingNode()->firstChild();
    for (CString text; child; child = child->nextSibling())
    {
        if (!child->isNamed(tag) || !attributeText(child, kind, text) || text != className)
            continue;
        push(child->element());
        return true;
    }
    return false;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::endReading() { return static_cast<bool>(popWorkingNode()); }

bool OKTXmlFiler::endReadClass()
try
{
    IXMLDOMElementPtr const ended = popWorkingNode();
    if (!ended)
        return false;
    m_readCursor = ended->node();
    return true;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::beginReadMembers(int section)
try
{
    if (!isReading())
        return false;
    OktXmlName const tag(kMembersTag);
    OktXmlName const kind(kVersion);
    CString text;
    for (IXMLDOMNodePtr child = getWorkingNode()->firstChild(); child; child = child->nextSibling())
    {
        if (!child->isNamed(tag) || !attributeText(child, kind, text) || _wtol(text.GetString()) != section)
            continue;
        push(child->element());
        return true;
    }
    return false;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::endReadMembers()
try
{
    return endReading();
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::beginReadMap(CString name)
try
{
    if (!isReading())
        return false;
    OktXmlName const tag(kMapTag);
    OktXmlName const kind(kName);
    CString text;
    for (IXMLDOMNodePtr child = getWorkingNode()->firstChild(); child; child = child->nextSibling())
    {
        if (!child->isNamed(tag) || !attributeText(child, kind, text) || text != name)
            continue;
        push(child->element());
        m_mapCursor = child->firstChild();
        return true;
    }
    return false;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::endReadMap()
try
{
    return endReading();
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::getMapAttribute(CString &name, tagVARIANT *value)
try
{
    if (!isReading())
        return false;
    OktXmlName const asLong(kLong);
    OktXmlName const asDouble(kDouble);
    OktXmlName const asString(kString);
    while (m_mapCursor)
    {
        IXMLDOMNodePtr const entry = m_mapCursor;
        bool found = false;
        CString text;
        // A later kind overwrites an earlier one, which is not freed.
        if (attributeText(entry, asLong, text))
        {
            value->vt = VT_I4;
            value->lVal = static_cast<LONG>(_wtol(text.GetString()));
            found = true;
        }
        if (attributeText(entry, asDouble, text))
        {
            value->vt = VT_R8;
            value->dblVal = _wtof(text.GetString());
            found = true;
        }
        if (attributeText(entry, asString, text))
        {
            value->bstrVal = text.AllocSysString();
            value->vt = VT_BSTR;
            found = true;
        }
        if (found)
            name = entry->nodeName();
        m_mapCursor = entry->nextSibling();
        if (found)
            return true;
    }
    return false;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::getDescriptionForNextReadObject(CString &className)
try
{
    className.Empty();
    if (!isReading())
        return false;
    OktXmlName const tag(kObjectTag);
    OktXmlName const kind(kClass);
    // Where an object was found and the cursor has not come to it yet, the scan need not pass the same nodes again.
    IXMLDOMNodePtr child = m_nextObject ? m_nextObject : nextAtCursor();
    m_nextObject = IXMLDOMNodePtr();
    for (CString text; child; child = child->nextSibling())
    {
        if (!child->isNamed(tag) || !attributeText(child, kind, text) || text.IsEmpty())
            continue;
        className = text;
        m_nextObject = child;
        return true;
    }
    return false;
}
OKT_ANSWER_ZERO

bool OKTXmlFiler::skipNextToReadDocumentObject()
try
{
    if (!isReading())
        return false;
    m_readCursor = nextAtCursor();
    if (m_readCursor == m_nextObject)
        m_nextObject = IXMLDOMNodePtr();
    return static_cast<bool>(m_readCursor);
}
OKT_ANSWER_ZERO
