// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktfiler.h>
#include <oktplatform/oktxmldom.h>

#include <initializer_list>

/// The XML filer: the protocol as a document object model, one tree per open filer. Not a positional stream: every value
/// becomes an element, and a reader finds it by its name, in any order and any number of times. Only the objects at document
/// level are taken in sequence. The 8-bit string mode and id translation have no effect here; byte arrays are refused both
/// ways.
///
///     OKTXmlFiler filer;
///     filer.NewFiler(L"values.xml", true);
///     filer.writeDouble(L"cover", 35.0);
///     filer.CloseFiler();
///
/// Names become tags as they stand, and one that is no XML name is refused: so no id and no picture passes this filer, and no
/// stored object with status 0 (quirk 72). A frame reaches the tree when it is ended; one that is never ended is not saved.
///
/// NewFiler opens, CloseFiler saves (if writing) and closes; the destructor closes what is open. A filer that was left inside a
/// frame cannot be opened again.
class OKT_API OKTXmlFiler : public OKTFiler
{
public:
    /// With no document open.
    OKTXmlFiler(OKTDbPool *pool = nullptr); // NOLINT(google-explicit-constructor): the published signature
    /// Both share document and nodes.
    OKTXmlFiler(OKTXmlFiler const &) = default;
    OKTXmlFiler &operator=(OKTXmlFiler const &) = default;
    ~OKTXmlFiler() override;

    /// False: the filer stands inside a document, no document can be made, or the file to read cannot be parsed. A file to
    /// write is not touched before CloseFiler.
    bool NewFiler(CString path, bool write);
    /// False when nothing is open. A failed save is not told (quirk 73).
    bool CloseFiler();

    bool beginWriteClass(CString name, CString className, int version) override;
    bool endWriteClass() override;
    bool beginWriteMembers(int section) override;
    bool endWriteMembers() override;
    /// Fixed notation with 17 decimals; the point is that of the numeric locale.
    bool writeDouble(CString const &name, double const &value) override;
    bool writeLong(CString const &name, unsigned long const &value) override;
    bool writeLong(CString const &name, long const &value) override;
    bool writeString(CString const &name, CString const &value) override;
    bool writeObjectId(CString const &name, OKTDbObjectId const &value) override;
    bool writePoint3d(CString const &name, OKTGeXYZ const &value) override;
    bool writeBool(CString const &name, bool const &value) override;
    bool writeBool(CString const &name, int const &value) override;
    bool writeInt(CString const &name, unsigned int const &value) override;
    bool writeInt(CString const &name, int const &value) override;
    bool writeShort(CString const &name, unsigned short const &value) override;
    bool writeShort(CString const &name, short const &value) override;
    bool writeVariant(CString const &name, tagVARIANT const &value) override;
    bool writeByteArray(CString const &name, CByteArray const &value) override;

    bool beginReadClass(CString name, CString className) override;
    bool endReadClass() override;
    bool beginReadMembers(int section) override;
    bool endReadMembers() override;
    /// A miss leaves the value of a string, long or double as it was; that of a bool, int or short becomes zero (quirk 74).
    bool readString(CString const &name, CString &value) override;
    bool readLong(CString const &name, unsigned long &value) override;
    bool readLong(CString const &name, long &value) override;
    bool readDouble(CString const &name, double &value) override;
    bool readObjectId(CString const &name, OKTDbObjectId &value) override;
    bool readPoint3d(CString const &name, OKTGeXYZ &value) override;
    bool readBool(CString const &name, bool &value) override;
    bool readBool(CString const &name, int &value) override;
    bool readInt(CString const &name, unsigned int &value) override;
    bool readInt(CString const &name, int &value) override;
    bool readShort(CString const &name, unsigned short &value) override;
    bool readShort(CString const &name, short &value) override;
    bool readVariant(CString const &name, tagVARIANT &value) override;
    bool readByteArray(CString const &name, CByteArray &value) override;

    /// A map is an enumerated bag of named scalars. Write values between begin and end; read the entries in document order.
    bool beginWriteMap(CString name);
    bool endWriteMap();
    bool beginReadMap(CString name);
    bool endReadMap();
    /// The next entry: its tag, and its value as VT_I4, VT_R8 or VT_BSTR, which the caller owns; what `value` held is not
    /// cleared. False behind the last entry.
    bool getMapAttribute(CString &name, tagVARIANT *value);

    /// The class of the next "Object" behind the read cursor, which stays; empty and false when there is none.
    bool getDescriptionForNextReadObject(CString &className);
    /// Moves the read cursor one node, of whatever kind (quirk 75). False at the end.
    bool skipNextToReadDocumentObject();

protected:
    /// The first node of the document that is not the "xml" instruction.
    OktXml::IXMLDOMNodePtr GetDocumentRealNode();
    /// The innermost open element; null when there is none. Popping gives it and leaves it.
    OktXml::IXMLDOMElementPtr getWorkingNode();
    OktXml::IXMLDOMElementPtr popWorkingNode();
    /// A null element is ignored.
    void pushWorkingNode(OktXml::IXMLDOMElementPtr const &element);

private:
    void push(OktXml::IXMLDOMElementPtr const &element);
    bool CreateClass(CString tag, CString className, int version);
    struct Attribute
    {
        CString name;
        CString text;
    };
    bool beginElement(CString const &tag, std::initializer_list<Attribute> attributes);
    bool endElement();
    bool writeValue(CString const &name, CString const &attribute, CString const &text);
    bool addAttribute(OktXml::IXMLDOMElementPtr const &element, CString const &name, CString const &text);
    bool endReading();
    bool isReading();
    bool findText(CString const &name, CString const &attribute, CString &text);
    OktXml::IXMLDOMNodePtr nextAtCursor();

    OktXml::IXMLDOMDocumentPtr m_document;
    CString m_path;
    OKTArray<OktXml::IXMLDOMElementPtr, OktXml::IXMLDOMElementPtr const &> m_workingNodes;
    OktXml::IXMLDOMNodePtr m_readCursor;
    OktXml::IXMLDOMNodePtr m_mapCursor;
    OktXml::IXMLDOMNodePtr m_nextObject; // found by the last scan from the read cursor, and still ahead of it
};
