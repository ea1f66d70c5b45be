// SPDX-License-Identifier: MIT
// An XML document of any bytes: every read of the filer over the whole tree, in sequence and by name; then the pool on the same
// file, and writing into the tree that was read.

#include "fuzzsupport.h"
#include "mutator.h"

#include <oktdatabase/oktdatabase.h>
#include <support/clientclasses.h>

#include <memory>

namespace
{
class Walker : public OKTXmlFiler
{
public:
    using OKTXmlFiler::GetDocumentRealNode;
    using OKTXmlFiler::getWorkingNode;
};

constexpr int kMostNodes = 2000; // visited in one input: look-ups walk the children each time

/// Reads every child of the working node by its name, and enters what can be entered.
void readAll(Walker &filer, int depth, int &left)
{
    IXMLDOMElementPtr const frame = filer.getWorkingNode();
    FUZZ_DEMAND(static_cast<bool>(frame));
    for (IXMLDOMNodePtr child = frame->firstChild(); child && left > 0; child = child->nextSibling())
    {
        --left;
        CString const name = child->nodeName();
        CString text = u"kept";
        long number = 4711;
        double real = 47.11;
        bool isTrue = true;
        short half = 1;
        FUZZ_DEMAND(filer.readString(name, text) || text == u"kept");
        FUZZ_DEMAND(filer.readLong(name, number) || number == 4711);
        FUZZ_DEMAND(filer.readDouble(name, real) || real == 47.11);
        FUZZ_DEMAND(filer.readBool(name, isTrue) || !isTrue);
        FUZZ_DEMAND(filer.readShort(name, half) || half == 0);
        FUZZ_DEMAND(number >= -2147483647l - 1 && number <= 2147483647l);
        OKTGeXYZ point;
        filer.readPoint3d(name, point);
        tagVARIANT value;
        VariantInit(&value);
        filer.readVariant(name, value);
        VariantClear(&value);
        OKTDbObjectId id;
        FUZZ_DEMAND(!filer.readObjectId(name, id)); // no id passes (quirk 72)
        IdArray ids;
        filer.readObjectIdArray(name, ids);
        FUZZ_DEMAND(ids.getSize() == 0);
        FUZZ_DEMAND(filer.getWorkingNode() == frame);

        IXMLDOMNamedNodeMapPtr const attributes = child->attributes();
        if (!attributes || depth == 0)
            continue;
        if (IXMLDOMAttributePtr const className = attributes->getNamedItem(OktXmlName(u"class")))
        {
            FUZZ_DEMAND(filer.beginReadClass(name, className->text()));
            readAll(filer, depth - 1, left);
            FUZZ_DEMAND(filer.endReadClass());
        }
        if (IXMLDOMAttributePtr const title = attributes->getNamedItem(OktXmlName(u"name")); title && name == u"Map")
        {
            FUZZ_DEMAND(filer.beginReadMap(title->text()));
            CString entry;
            while (filer.getMapAttribute(entry, &value))
                VariantClear(&value);
            readAll(filer, depth - 1, left);
            FUZZ_DEMAND(filer.endReadMap());
        }
        FUZZ_DEMAND(filer.getWorkingNode() == frame);
    }
    for (int section = 1; section <= 6; ++section)
        if (depth > 0 && filer.beginReadMembers(section))
        {
            readAll(filer, depth - 1, left);
            FUZZ_DEMAND(filer.endReadMembers());
        }
    FUZZ_DEMAND(filer.getWorkingNode() == frame);
}

void walk(CString const &path)
{
    Walker filer;
    bool const opened = filer.NewFiler(path, false);
    FUZZ_DEMAND(opened == static_cast<bool>(filer.GetDocumentRealNode()));
    if (filer.getWorkingNode())
    {
        int left = kMostNodes;
        readAll(filer, 6, left);
    }
    // The objects in sequence, as a pool takes them, each one left out or entered.
    CString className;
    for (int i = 0; i < kMostNodes && filer.getDescriptionForNextReadObject(className); ++i)
    {
        FUZZ_DEMAND(!className.IsEmpty());
        filer.setIsReadingObjectFromRoot(true);
        if (i % 3 == 2 || !filer.beginReadClass(CString(), className))
            filer.skipNextToReadDocumentObject();
        else
            FUZZ_DEMAND(filer.endReadClass());
    }
    // What is written now is found and never saved (quirk 77).
    if (filer.getWorkingNode() && filer.writeInt(u"fuzz-value", 5))
    {
        int value = 0;
        FUZZ_DEMAND(filer.readInt(u"fuzz-value", value));
    }
    FUZZ_DEMAND(filer.CloseFiler());
}

// Each stored class reads itself from the document. No id passes (quirk 72); what was read before goes out again.
void readClasses(CString const &path)
{
    for (auto const *const descriptor :
         {OKTDbObject::desc(), OKTDbParameter::desc(), OKTDbCategory::desc(), OKTDbGroupCategory::desc(), OKTDbRelation::desc(),
          OKTDbParamRelation::desc(), OKTDbPicture::desc(), ClientConstruct::desc()})
    {
        OKTXmlFiler filer;
        if (!filer.NewFiler(path, false))
            return;
        filer.setIsReadingObjectFromRoot(true);
        std::unique_ptr<OKTDbObject> const object(descriptor->CreateObject());
        object->xmlIn(&filer);
        FUZZ_DEMAND(object->objectId().isNull());
        OKTMemoryFiler writer;
        object->xmlOut(&writer);
        FUZZ_DEMAND(filer.CloseFiler());
    }
}

// A text of the input as a value: what is saved is read again, and from then on stays as it is.
void saveText(CString const &path, std::uint8_t const *data, std::size_t size)
{
    CString value;
    for (std::size_t i = 0; i + 1 < size && i < 400; i += 2)
    {
        WCHAR const unit = static_cast<WCHAR>(data[i] | data[i + 1] << 8);
        value += CString(&unit, 1);
    }
    for (int round = 0; round < 2; ++round)
    {
        OKTXmlFiler writer;
        FUZZ_DEMAND(writer.NewFiler(path, true));
        FUZZ_DEMAND(writer.writeString(u"s", value));
        bool const named = writer.writeString(value, u"x");
        FUZZ_DEMAND(writer.CloseFiler());
        OKTXmlFiler reader;
        FUZZ_DEMAND(reader.NewFiler(path, false));
        CString again;
        FUZZ_DEMAND(reader.readString(u"s", again));
        FUZZ_DEMAND(again.GetLength() == value.GetLength());
        FUZZ_DEMAND(round == 0 || again == value);
        CString other;
        FUZZ_DEMAND(!named || reader.readString(value, other));
        value = again;
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    static ClientClasses const clients;
    static InputFile file("input.xml");
    file.write(data, size);
    CString const path = file.path();

    walk(path);
    readClasses(path);
    {
        ExpectedLeak const lostObject; // quirk 18
        OKTDbPool pool;
        pool.readXMLFile(path);
        FUZZ_DEMAND(!pool.writeXMLFile(file.path("pool.xml")));
        demandRoundTrip(pool);
    }
    saveText(file.path("text.xml"), data, size);
    return 0;
}

FUZZ_STRUCTURE(xmlStructure());
