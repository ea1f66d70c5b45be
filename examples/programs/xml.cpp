// SPDX-License-Identifier: MIT
// Writes the numbers of a template as an XML document, and reads them from there into a new pool: values are found by their names, in
// any order. Ids do not pass the XML filer, so what refers to another object is kept in pool files alone.
//   xml FILE DOCUMENT

#include <oktdatabase/oktdatabase.h>

#include <cstdio>

namespace
{
CString tagOf(int type)
{
    CString tag;
    tag.Format(u"type%d", type);
    return tag;
}
} // namespace

int main(int count, char **arguments)
{
    if (count != 3)
        return 2;
    CString const document = CString::FromUtf8(arguments[2]);
    OKTDbPool pool;
    pool.setMetricsFactor(1000.0);
    OKTXmlFiler writer;
    if (!pool.readFile(CString::FromUtf8(arguments[1])) || !writer.NewFiler(document, true))
        return 1;
    writer.writeString(u"name", pool.poolName());
    for (int i = 0; i < pool.objectCount(); ++i)
        if (OKTDbParameter const *const parameter = OKTDbParameter::cast(pool.objectAt(i)))
            if (parameter->Value().vt == VT_R8)
                writer.writeDouble(tagOf(parameter->Type()), parameter->Value().dblVal);
    writer.CloseFiler();

    OKTXmlFiler reader;
    CString name;
    if (!reader.NewFiler(document, false) || !reader.readString(u"name", name))
        return 1;
    OKTDbPool made;
    made.setPoolName(name);
    for (int type = 3; type <= 82; ++type)
    {
        double value = 0.0;
        if (!reader.readDouble(tagOf(type), value))
            continue;
        auto *const parameter = new OKTDbParameter(type, made.objectId());
        parameter->setValue(value, 0);
        made.appendObject(parameter);
        std::printf("%s = %g\n", parameter->UserName().ToUtf8().c_str(), value);
    }
    std::printf("%s: %d values\n", made.poolName().ToUtf8().c_str(), made.objectCount());
}
