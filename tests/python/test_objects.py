# SPDX-License-Identifier: MIT
import datetime
import uuid

import pytest

import oktdatabase as okt


def test_new_parameter_has_the_name_of_its_type():
    parameter = okt.Parameter(6)
    assert (parameter.type, parameter.type_name, parameter.name) == (6, "Cover", "Cover")
    assert (parameter.value, parameter.kind) == (None, "VT_EMPTY")
    assert (parameter.id, parameter.pool, parameter.class_name) == (None, None, "OKTDbParameter")
    assert (parameter.owner, parameter.category, list(parameter.uses)) == (None, None, [])
    assert okt.Parameter().type == -1 and okt.Parameter().name == ""


def test_all_arguments():
    owner = uuid.uuid4()
    parameter = okt.Parameter(type=5, name="D", value=12, owner=owner)
    assert (parameter.type, parameter.name, parameter.value, parameter.owner) == (5, "D", 12, owner)


@pytest.mark.parametrize(
    "value, kind",
    [
        (35.0, "VT_R8"),
        (-0.0, "VT_R8"),
        (float("inf"), "VT_R8"),
        (7, "VT_I4"),
        (-(2**31), "VT_I4"),
        (2**31 - 1, "VT_I4"),
        (True, "VT_BOOL"),
        (False, "VT_BOOL"),
        ("B500B", "VT_BSTR"),
        ("", "VT_BSTR"),
        ("\U0001f600 \u00e4\u20ac", "VT_BSTR"),
        ("\ud800 lone", "VT_BSTR"),
        ("lone \udfff", "VT_BSTR"),
        (None, "VT_EMPTY"),
        (datetime.datetime(2026, 11, 22, 6), "VT_DATE"),
        (datetime.datetime(1850, 1, 1), "VT_DATE"),
    ],
)
def test_value_of_each_kind(value, kind):
    parameter = okt.Parameter(3, value=1.0)
    parameter.list_index = 4
    parameter.value = value
    assert parameter.value == value and type(parameter.value) is type(value)
    assert (parameter.kind, parameter.list_index) == (kind, 4)
    if value is not None and not isinstance(value, datetime.datetime):
        pool = okt.Pool()
        pool.add(parameter)
        read = okt.Pool.from_bytes(pool.to_bytes()).parameters[0].value
        assert read == value and type(read) is type(value)


def test_value_with_a_zero_is_not_lost_without_a_word():
    pool = okt.Pool()
    parameter = pool.add(okt.Parameter(3, "Text", "a\0b"))
    assert parameter.value == "a\0b"
    with pytest.raises(okt.Error, match='OKTDbParameter "Text" .*a character zero'):
        pool.to_bytes()


def test_value_that_is_refused():
    parameter = okt.Parameter(3, value=1.0)
    for value in (2**31, -(2**31) - 1, 2**80):
        with pytest.raises(OverflowError):
            parameter.value = value
    for value in (b"x", [1.0], object(), 1j):
        with pytest.raises(TypeError):
            parameter.value = value
    assert parameter.value == 1.0


def test_value_of_numpy():
    numpy = pytest.importorskip("numpy")
    parameter = okt.Parameter(3)
    for value, plain in (
        (numpy.float64(2.5), 2.5),
        (numpy.float32(2.5), 2.5),
        (numpy.int64(7), 7),
        (numpy.bool_(True), True),
        (numpy.str_("x"), "x"),
    ):
        parameter.value = value
        assert parameter.value == plain and type(parameter.value) is type(plain)


def test_texts_and_numbers_round_trip():
    pool = okt.Pool()
    parameter = pool.add(okt.Parameter(6))
    for text in ("", "2 * D", "\ud83d", "\u00fc" * 300):
        parameter.name = parameter.expression = parameter.description = text
        assert (parameter.name, parameter.expression, parameter.description) == (text, text, text)
    parameter.type = 26
    parameter.list_index = 27
    assert (parameter.type, parameter.list_index, parameter.list_code) == (26, 27, "AA")
    for setter in ("name", "expression", "description"):
        with pytest.raises(TypeError):
            setattr(parameter, setter, 3)


def test_unit_of_a_length():
    pool = okt.Pool(unit="mm")
    cover = pool.add(okt.Parameter(6, value=35.0))
    grade = pool.add(okt.Parameter(4, value="B500B"))
    assert (cover.unit, grade.unit) == ("mm", "")
    assert okt.Pool.from_bytes(okt.Pool(unit="mm").to_bytes()).unit == "m"


def test_add_gives_the_pool_as_owner_so_that_the_unit_holds():
    pool = okt.Pool(unit="mm")
    cover = okt.Parameter(6, value=35.0)
    assert pool.add(cover) is cover
    grade = pool.add(okt.Parameter(4, value="B500B"))
    assert (cover.owner, cover.pool) == (pool.id, pool)
    assert cover.pool is pool and isinstance(cover.id, uuid.UUID)
    cover.value = 35.0
    grade.value = "x"
    assert okt.Pool.from_bytes(pool.to_bytes()).get(cover.id).value == 0.035
    other = okt.Pool(unit="in")
    moved = other.add(pool.remove(cover))
    moved.value = 2.0
    assert okt.Pool.from_bytes(other.to_bytes(), unit="mm").parameters[0].value == pytest.approx(50.8)
    # Also where the owner is set to none: a length of a pool is in its unit.
    moved.owner = None
    assert moved.owner is None
    assert okt.Pool.from_bytes(other.to_bytes(), unit="mm").parameters[0].value == pytest.approx(50.8)


def test_references_are_objects_or_ids(small):
    cover, radius, bend = small.find("Cover"), small.find("Radius"), small.find("Bend")
    cover.category = bend
    cover.owner = radius
    assert cover.category == bend and cover.owner == radius
    cover.category = bend.id
    assert cover.category == bend
    stranger = uuid.uuid4()
    cover.owner = stranger
    assert cover.owner == stranger
    cover.category = None
    assert cover.category is None
    cover.owner = small
    assert cover.owner == small.id
    group = small.add(okt.GroupCategory())
    bend.group = group
    assert bend.group == group
    with pytest.raises(TypeError):
        cover.owner = "radius"
    with pytest.raises(ValueError, match="in no pool"):
        cover.owner = okt.Category()
    with pytest.raises(ValueError, match="in another pool"):
        cover.owner = okt.Pool().add(okt.Category())


def test_live_sequences(small):
    cover, radius, bend = small.find("Cover"), small.find("Radius"), small.find("Bend")
    parameters = bend.parameters
    assert list(parameters) == [cover, radius] and len(parameters) == 2
    assert (parameters[0], parameters[-1], parameters[0:1]) == (cover, radius, [cover])
    assert cover in parameters and cover.id in parameters and bend not in parameters
    assert (parameters.index(radius), parameters.count(cover)) == (1, 1)
    parameters.remove(cover)
    assert list(bend.parameters) == [radius] == parameters
    for missing in (cover, uuid.uuid4()):
        with pytest.raises(ValueError):
            parameters.remove(missing)
    with pytest.raises(ValueError):
        parameters.index(cover)
    parameters.append(cover)
    parameters.append(cover)
    assert list(parameters) == [radius, cover]
    stranger = uuid.uuid4()
    parameters.append(stranger)
    assert parameters[2] == stranger and len(parameters) == 3
    parameters.clear()
    assert list(parameters) == []
    with pytest.raises(IndexError):
        parameters[0]
    with pytest.raises(TypeError):
        parameters.append(None)


def test_lists_of_each_class(small):
    cover, radius, bend = small.find("Cover"), small.find("Radius"), small.find("Bend")
    group = small.add(okt.GroupCategory())
    group.categories.append(bend)
    relation = small.add(okt.ParamRelation())
    relation.members.extend([cover, radius])
    cover.uses.append(radius)
    cover.uses.append(radius)
    assert list(group.categories) == [bend]
    assert list(relation.members) == [cover, radius]
    assert list(cover.uses) == [radius, radius]
    cover.uses.remove(radius)
    assert list(cover.uses) == [radius]
    plain = small.add(okt.Relation())
    assert list(plain.members) == []
    with pytest.raises(TypeError):
        plain.members.append(cover)
    again = okt.Pool.from_bytes(small.to_bytes())
    assert [each.name for each in again[relation.id].members] == ["Cover", "Radius"]
    assert [each.name for each in again[group.id].categories] == ["Bend"]
    assert [each.name for each in again[cover.id].uses] == ["Radius"]


def test_erased_object_is_an_id_in_lists(small):
    cover, bend = small.find("Cover"), small.find("Bend")
    key = cover.id
    small.erase(cover)
    assert bend.parameters[0] == key and len(bend.parameters) == 2


def test_group_parameter(small):
    cover, radius = small.find("Cover"), small.find("Radius")
    group = okt.GroupParameter(6, "All")
    with pytest.raises(ValueError, match="once it is in a pool"):
        group.elements.append(cover)
    small.add(group)
    group.elements.extend([radius, cover])
    assert list(group.elements) == [cover, radius]
    assert group.value == [35.0, 24.0]
    group.value = [1.0, 2]
    assert (cover.value, radius.value) == (1.0, 2.0)
    for wrong in ([1.0], [1.0, 2.0, 3.0]):
        with pytest.raises(ValueError):
            group.value = wrong
    for wrong in (1.0, "ab", None, [1.0, "x"]):
        with pytest.raises(TypeError):
            group.value = wrong
    assert (cover.value, radius.value) == (1.0, 2.0)
    with pytest.raises(ValueError):
        group.elements.append(small.find("Bend"))
    group.elements.remove(cover)
    assert group.value == [2.0]
    small.erase(radius)
    assert group.value == [0.0]
    assert group in small.parameters
    # The elements are those of a pool: another one has none of them.
    other = okt.Pool()
    assert list(other.add(small.remove(group)).elements) == []


def test_picture():
    picture = okt.Picture(b"\x00\xff" * 50000)
    picture.camera, picture.target, picture.up = (1.0, 2.0, 3.0), [4, 5, 6], (0.0, 0.0, 1.0)
    pool = okt.Pool()
    pool.add(picture)
    read = okt.Pool.from_bytes(pool.to_bytes()).pictures[0]
    assert read.data == b"\x00\xff" * 50000
    assert (read.camera, read.target, read.up) == ((1.0, 2.0, 3.0), (4.0, 5.0, 6.0), (0.0, 0.0, 1.0))
    picture.data = bytearray(b"new")
    assert picture.data == b"new"
    with pytest.raises(TypeError):
        picture.data = "text"
    with pytest.raises(ValueError):
        picture.camera = (1.0, 2.0)


def test_fields_and_records(small):
    bend = small.find("Bend")
    fields = bend.fields
    assert fields["m_strCategoryName"] == "Bend"
    assert fields["m_tabParameters.0"] == small.find("Cover").id
    assert "Bend" in bend.records
    assert small.find("Cover").fields["m_nParamType"] == 6
    assert 0.035 in small.find("Cover").records


def test_handles_of_one_object_are_equal(small):
    one, two = small.find("Cover"), small.find("Cover")
    assert one is not two and one == two and hash(one) == hash(two)
    assert len({one, two, small.find("Radius")}) == 2
    assert one != small.find("Radius") and one != "Cover"
    kept = {one: "kept"}
    before = hash(one)
    loose = small.remove(one)
    assert loose is one and hash(loose) == before and kept[one] == "kept"
    small.add(one)
    assert hash(one) == before and one == small.find("Cover")


def test_classes_without_a_constructor():
    for made in (okt.Object, okt.ClientObject):
        with pytest.raises(TypeError):
            made()
    with pytest.raises(ValueError):
        okt.new_object("Thing")
    parameter = okt.Parameter(6)
    with pytest.raises(TypeError):
        parameter.__init__(7)
    assert parameter.type == 6
    with pytest.raises(TypeError):
        okt.Parameter.value.fget(okt.Category())
    with pytest.raises(TypeError):
        okt.Parameter.value.fget("text")
