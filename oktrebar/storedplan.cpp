// SPDX-License-Identifier: MIT
#include <oktrebar/storedplan.h>

#include <oktformat/failure.h>
#include <oktrebar/parametervalue.h>

#include <oktdatabase/oktdbpicture.h>
#include <oktdatabase/oktdbpool.h>
#include <oktdatabase/oktmemoryfiler.h>

#include <algorithm>

namespace okt
{

namespace
{

using namespace types;

constexpr char kRecordStandard[] = "BF2D";
constexpr char kLinkCode[] = "51";

CByteArray arrayOf(std::string_view bytes)
{
    CByteArray array;
    array.SetSize(static_cast<int>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), reinterpret_cast<char *>(array.GetData()));
    return array;
}

bool isText(TemplatePlan const &plan, int type, char const *text)
{
    ParameterPlan const *const parameter = plan.find({type, 0});
    std::string const *const value = parameter == nullptr ? nullptr : std::get_if<std::string>(&parameter->value);
    return value != nullptr && *value == text;
}

TemplateKind kindOf(TemplatePlan const &plan)
{
    if (plan.find({kWidth, 0}) != nullptr && plan.find({kSpacing, 2}) != nullptr)
        return TemplateKind::Mesh;
    if (isText(plan, kStandard, kRecordStandard))
        return TemplateKind::Bent;
    bool const hasHooks = plan.find({kHookAngle1, 0}) != nullptr && plan.find({kHookAngle2, 0}) != nullptr;
    if (!hasHooks || plan.find({kLength, 1}) == nullptr)
        return TemplateKind::Other;
    return isText(plan, kShapeCode, kLinkCode) ? TemplateKind::Link : TemplateKind::Hooked;
}

struct Camera
{
    OKTGeXYZ place;
    OKTGeXYZ target;
    OKTGeXYZ up;
};

bool isSamePoint(OKTGeXYZ const &left, OKTGeXYZ const &right)
{
    return left.X() == right.X() && left.Y() == right.Y() && left.Z() == right.Z();
}

bool isCamera(OKTDbPicture const &picture, Camera const &camera)
{
    Camera own;
    picture.getCameraData(own.place, own.target, own.up);
    return isSamePoint(own.place, camera.place) && isSamePoint(own.target, camera.target) && isSamePoint(own.up, camera.up);
}

/// Values went through a file in metres, so that their last bits may differ.
bool isNear(OKTGeXYZ const &left, OKTGeXYZ const &right)
{
    return isSameNumber(left.X(), right.X()) && isSameNumber(left.Y(), right.Y()) && isSameNumber(left.Z(), right.Z());
}

Camera cameraOf(Box const &shape)
{
    Point const middle = shape.centre();
    double const distance = std::max(shape.width(), shape.height());
    return {OKTGeXYZ(middle.x, middle.y, distance), OKTGeXYZ(middle.x, middle.y, 0), OKTGeXYZ(0, 1, 0)};
}

bool readPicture(OKTDbPicture &picture, OKTDbPool &pool, CByteArray const &frame)
{
    OKTMemoryFiler filer(&pool);
    filer.readInPlace(frame);
    return picture.xmlIn(&filer) == eFilerOk;
}

bool writePicture(OKTDbPicture const &picture, CByteArray &frame)
{
    OKTMemoryFiler filer;
    return picture.xmlOut(&filer) == eFilerOk && filer.saveFiler(frame);
}

} // namespace

TemplatePlan planOf(StoredTemplate const &pool, LengthUnit const &drawn, ChangedValues const &changed)
{
    TemplatePlan plan;
    plan.poolName = pool.poolName;
    plan.units = drawn.name == "in" ? Units::Inch : Units::Millimetre;
    CategoryPlan &all = plan.categories.emplace_back();
    for (std::size_t const index : pool.inOrder())
    {
        StoredParameter parameter = pool.parameters[index];
        if (auto const found = changed.find(index); found != changed.end())
            parameter.value = found->second;
        ParameterPlan one;
        one.key = {parameter.type, parameter.listIndex};
        one.name = parameter.name;
        ParameterValue const value = shownValue(parameter, drawn, drawn).value;
        if (double const *const real = std::get_if<double>(&value))
            one.value = *real;
        else if (std::int32_t const *const whole = std::get_if<std::int32_t>(&value))
            one.value = static_cast<int>(*whole);
        else if (bool const *const flag = std::get_if<bool>(&value))
            one.value = *flag;
        else if (std::string const *const text = std::get_if<std::string>(&value))
            one.value = *text;
        else
            continue;
        all.parameters.push_back(std::move(one));
    }
    plan.kind = drawn.name == "mm" || drawn.name == "in" ? kindOf(plan) : TemplateKind::Other;
    return plan;
}

std::optional<Preview> previewOf(StoredTemplate const &pool, LengthUnit const &drawn, ChangedValues const &changed)
{
    try
    {
        return drawPreview(planOf(pool, drawn, changed));
    }
    catch (Failure const &)
    {
        return std::nullopt; // not a template that is drawn here
    }
}

std::optional<std::string> drawingOf(StoredTemplate const &pool, LengthUnit const &drawn)
{
    return drawLines(planOf(pool, drawn));
}

std::optional<CByteArray> imageIn(std::string_view frame)
{
    OKTDbPool pool;
    OKTDbPicture picture;
    if (!readPicture(picture, pool, arrayOf(frame)))
        return std::nullopt;
    CByteArray image;
    picture.getPictureData(image);
    return image;
}

bool isSameImage(CByteArray const &left, CByteArray const &right)
{
    return left.GetSize() == right.GetSize() && std::equal(left.GetData(), left.GetData() + left.GetSize(), right.GetData());
}

bool mayBeDrawnHere(CByteArray const &image)
{
    std::string_view const bytes(reinterpret_cast<char const *>(image.GetData()), static_cast<std::size_t>(image.GetSize()));
    auto const big = [bytes](std::size_t at) {
        int value = 0;
        for (std::size_t i = 0; i < 4; ++i)
            value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
        return value;
    };
    constexpr std::size_t kSize = 16; // of a PNG, in its first chunk
    return bytes.size() > kSize + 8 && bytes.starts_with("\x89PNG") && big(kSize) == kPreviewWidth &&
           big(kSize + 4) == kPreviewHeight;
}

bool looksAt(std::string_view frame, Box const &shape)
{
    OKTDbPool pool;
    OKTDbPicture picture;
    if (!readPicture(picture, pool, arrayOf(frame)))
        return false;
    Camera own;
    picture.getCameraData(own.place, own.target, own.up);
    Camera const camera = cameraOf(shape);
    return isNear(own.place, camera.place) && isNear(own.target, camera.target) && isNear(own.up, camera.up);
}

std::optional<CByteArray> withImage(std::string_view frame, Preview const &before, Preview const &after)
{
    OKTDbPool pool;
    OKTDbPicture picture;
    CByteArray const bytes = arrayOf(frame);
    CByteArray written;
    if (!readPicture(picture, pool, bytes) || !writePicture(picture, written) || !isSameImage(bytes, written))
        return std::nullopt; // it holds something that would be lost
    picture.setPictureData(after.png);
    if (isCamera(picture, cameraOf(before.shape)))
    {
        Camera const camera = cameraOf(after.shape);
        picture.setCameraData(camera.place, camera.target, camera.up);
    }
    CByteArray result;
    return writePicture(picture, result) ? std::optional(std::move(result)) : std::nullopt;
}

} // namespace okt
