// SPDX-License-Identifier: MIT
#include <python/binding/references.h>

#include <python/binding/failures.h>
#include <python/binding/values.h>

#include <algorithm>

namespace okt::python
{

namespace
{

OKTDbPool *poolOf(Handle const &handle) { return handle.core == nullptr ? nullptr : &handle.core->pool(); }

/// The id that a setter was given, for an object of that handle.
OKTDbObjectId idFor(Handle const &handle, py::handle given)
{
    OKTDbObjectId id;
    if (given.is_none())
        id = OKTDbObjectId();
    else if (isUuid(given))
        id.setGuid(guidOf(given));
    else if (isHandle(given))
    {
        Handle &other = handleOf(given);
        resolve(other);
        if (other.core == nullptr)
            throw py::value_error("the object that is referred to is in no pool, and has no id yet");
        if (handle.core != nullptr && handle.core != other.core)
            throw py::value_error("the object that is referred to is in another pool");
        id.setGuid(other.id);
    }
    else if (py::isinstance<PoolCore>(given))
        id.setGuid(given.cast<PoolCore &>().use().objectId().getGuid());
    else
        throw py::type_error(std::string("an object, an id or None is wanted, not ") + Py_TYPE(given.ptr())->tp_name);
    id.fixPoolPointer(poolOf(handle));
    return id;
}

/// The object of that id where the pool has one, else the id; None for the null id.
py::object referenceObject(Handle const &handle, OKTDbObjectId const &id)
{
    if (id.isNull())
        return py::none();
    OKTDbObject *object = nullptr;
    if (handle.core != nullptr && handle.core->pool().findObject(id, object) && object != nullptr)
        return handleObject(handle.pool, *handle.core, object);
    return uuidObject(id.getGuid());
}

IdArray idsOf(OKTDbObject *object)
{
    IdArray ids;
    if (OKTDbCategory const *const category = OKTDbCategory::cast(object))
        category->getAllParameters(ids);
    else if (OKTDbGroupCategory const *const group = OKTDbGroupCategory::cast(object))
        group->getAllCategories(ids);
    else if (OKTDbParamRelation const *const relation = OKTDbParamRelation::cast(object))
        relation->getAllParameters(ids);
    return ids;
}

IdArray listOf(OKTDbObject *object, std::string const &field)
{
    OKTDbParameter *const parameter = OKTDbParameter::cast(object);
    if (field == "uses" && parameter != nullptr)
        return parameter->TabParams();
    IdArray ids;
    if (OKTDbGroupParameter *const group = OKTDbGroupParameter::cast(object); field == "elements" && group != nullptr)
        group->getAllElements(ids);
    else
        ids = idsOf(object);
    return ids;
}

py::list references(py::object self, std::string const &field)
{
    Handle &handle = handleOf(self);
    py::list list;
    for (OKTDbObjectId const &id : listOf(resolve(handle), field))
        list.append(id.isNull() ? uuidObject(id.getGuid()) : referenceObject(handle, id));
    return list;
}

int countReferences(py::object self, std::string const &field) { return listOf(resolve(handleOf(self)), field).getSize(); }

void addElement(OKTDbGroupParameter &group, Handle const &handle, OKTDbObjectId const &id)
{
    OKTDbObject *element = nullptr;
    if (handle.core == nullptr)
        throw py::value_error("a group takes elements once it is in a pool");
    if (!handle.core->pool().findObject(id, element) || OKTDbParameter::cast(element) == nullptr)
        throw py::value_error("an element of a group is a parameter of its pool");
    group.addElement(id);
}

void appendReference(py::object self, std::string const &field, py::object reference)
{
    Handle &handle = handleOf(self);
    if (reference.is_none())
        throw py::type_error("an object or an id is wanted, not None");
    resolve(handle);
    OKTDbObjectId const id = idFor(handle, reference);
    OKTDbObject *const object = resolve(handle); // an id may be of a class with code of its own
    if (OKTDbParameter *const parameter = OKTDbParameter::cast(object); parameter != nullptr && field == "uses")
    {
        IdArray ids = parameter->TabParams();
        ids.append(id);
        parameter->setTabParams(ids);
    }
    else if (OKTDbGroupParameter *const group = OKTDbGroupParameter::cast(object))
        addElement(*group, handle, id);
    else if (OKTDbCategory *const category = OKTDbCategory::cast(object))
        category->appendParameter(id);
    else if (OKTDbGroupCategory *const categories = OKTDbGroupCategory::cast(object))
        categories->appendCategory(id);
    else if (OKTDbParamRelation *const relation = OKTDbParamRelation::cast(object))
        relation->appendParameter(id);
    else
        throw py::type_error("the object has no list of references");
    tellReports();
}

void removeReference(py::object self, std::string const &field, py::object reference)
{
    Handle &handle = handleOf(self);
    resolve(handle);
    OKTDbObjectId const id = idFor(handle, reference);
    OKTDbObject *const object = resolve(handle);
    IdArray ids = listOf(object, field);
    int const place = ids.findIndex(id);
    if (place < 0)
        throw py::value_error("the object is not in the list");
    if (OKTDbParameter *const parameter = OKTDbParameter::cast(object); parameter != nullptr && field == "uses")
    {
        ids.removeAt(place);
        parameter->setTabParams(ids);
    }
    else if (OKTDbGroupParameter *const group = OKTDbGroupParameter::cast(object))
        group->removeElement(id);
    else if (OKTDbCategory *const category = OKTDbCategory::cast(object))
        category->removeParameter(id);
    else if (OKTDbGroupCategory *const categories = OKTDbGroupCategory::cast(object))
        categories->removeCagegory(id);
    else if (OKTDbParamRelation *const relation = OKTDbParamRelation::cast(object))
        relation->removeParameter(id);
    tellReports();
}

py::object reference(py::object self, std::string const &field)
{
    Handle &handle = handleOf(self);
    OKTDbObject *const object = resolve(handle);
    if (OKTDbCategory const *const category = OKTDbCategory::cast(object))
        return referenceObject(handle, category->GroupCategory());
    OKTDbParameter const &parameter = resolvedAs<OKTDbParameter>(self);
    return referenceObject(handle, field == "owner" ? parameter.OwnerId() : parameter.Category());
}

void setReference(py::object self, std::string const &field, py::object given)
{
    Handle &handle = handleOf(self);
    resolve(handle);
    OKTDbObjectId const id = idFor(handle, given);
    OKTDbObject *const object = resolve(handle);
    if (OKTDbCategory *const category = OKTDbCategory::cast(object))
        category->setGroupCategory(id);
    else if (OKTDbParameter &parameter = resolvedAs<OKTDbParameter>(self); field == "owner")
        parameter.setOwnerId(id);
    else
        parameter.setCategory(id);
    tellReports();
}

py::tuple pointTuple(OKTGeXYZ const &point) { return py::make_tuple(point.X(), point.Y(), point.Z()); }

OKTGeXYZ pointOf(py::handle given)
{
    auto const parts = py::cast<py::sequence>(py::reinterpret_borrow<py::object>(given));
    if (parts.size() != 3)
        throw py::value_error("a point has three coordinates");
    return {parts[0].cast<double>(), parts[1].cast<double>(), parts[2].cast<double>()};
}

py::bytes pictureData(py::object self)
{
    CByteArray data;
    resolvedAs<OKTDbPicture>(self).getPictureData(data);
    tellReports();
    return bytesObject(data);
}

void setPictureData(py::object self, py::object data)
{
    CByteArray const bytes = bytesOf(data);
    resolvedAs<OKTDbPicture>(self).setPictureData(bytes);
    tellReports();
}

py::tuple pictureView(py::object self)
{
    OKTGeXYZ camera;
    OKTGeXYZ target;
    OKTGeXYZ up;
    resolvedAs<OKTDbPicture>(self).getCameraData(camera, target, up);
    return py::make_tuple(pointTuple(camera), pointTuple(target), pointTuple(up));
}

void setPictureView(py::object self, py::object camera, py::object target, py::object up)
{
    OKTGeXYZ const from = pointOf(camera);
    OKTGeXYZ const to = pointOf(target);
    OKTGeXYZ const upwards = pointOf(up);
    resolvedAs<OKTDbPicture>(self).setCameraData(from, to, upwards);
}

} // namespace

void bindToPool(OKTDbObject *object, OKTDbPool &pool, bool isOtherPool)
{
    OKTDbParameter *const parameter = OKTDbParameter::cast(object);
    if (parameter == nullptr)
        return;
    OKTDbObjectId owner = parameter->OwnerId();
    if (owner.isNull())
        owner.setGuid(pool.objectId().getGuid());
    owner.setObject(nullptr);
    owner.fixPoolPointer(&pool);
    parameter->setOwnerId(owner);
    OKTDbObjectId category = parameter->Category();
    category.setObject(nullptr);
    category.fixPoolPointer(&pool);
    parameter->setCategory(category);
    // The elements are those of the pool that the group was in.
    if (OKTDbGroupParameter *const group = OKTDbGroupParameter::cast(object); group != nullptr && isOtherPool)
        group->eraseAll();
}

void addReferences(py::module_ &module)
{
    module.def("references", &references);
    module.def("count_references", &countReferences);
    module.def("append_reference", &appendReference);
    module.def("remove_reference", &removeReference);
    module.def("reference", &reference);
    module.def("set_reference", &setReference);
    module.def("picture_data", &pictureData);
    module.def("set_picture_data", &setPictureData);
    module.def("picture_view", &pictureView);
    module.def("set_picture_view", &setPictureView);
}

} // namespace okt::python
