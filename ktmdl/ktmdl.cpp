#include "ktmdl/ktmdl.h"

#include "com/ComText.h"
#include "ktmdl/ktmdl_Diag_detail.h"
#include "ktmdl/ktmdl_Host.h"
#include "ktmdl/ktmdl_HostCall_detail.h"
#include "ktmdl/ktmdl_Numbers_detail.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_ComTools.h"
#include "ktstd/ktstd_FailureText_detail.h"
#include "ktstd/ktstd_fail.h"

#include <cmath>
#include <cstdio>
#include <ostream>
#include <string>

using ktmdl_detail::Call;
using ktmdl_detail::FetchObject;
using ktmdl_detail::FetchText;
using ktmdl_detail::GetDouble;
using ktmdl_detail::GetLong;
using ktmdl_detail::HostArray;
using ktmdl_detail::In;
using ktmdl_detail::InObject;
using ktmdl_detail::IsNull;
using ktmdl_detail::ItemOf;
using ktmdl_detail::kPi;
using ktmdl_detail::Missing;
using ktmdl_detail::PropertyObject;

namespace {

//! Degrees within which ChooseAngle takes an angle for a multiple of 90.
constexpr double kSnap = 1e-5;

double clampToUnit(double aValue)
{
    if (aValue > 1.0) {
        return 1.0;
    }
    return aValue < -1.0 ? -1.0 : aValue;
}

[[noreturn]] void raiseNoAngle(double aSinA, double aCosA)
{
    ktstd_detail::FailureText text;
    text << "ChooseAngle: cannot find angle (aSinA=" << aSinA << ",aCosA=" << aCosA << ")"
         << std::ends;
    ktstd_fail_ProgramError::Raise(text);
}

//! Makes an angle and its sine exact when the angle is nearly 0, 90 or -90 degrees.
void snapSine(double& aAngle, double& aSine)
{
    if (std::fabs(aAngle) < kSnap) {
        aAngle = 0.0;
        aSine = 0.0;
    } else if (std::fabs(aAngle - 90.0) < kSnap) {
        aAngle = 90.0;
        aSine = 1.0;
    } else if (std::fabs(aAngle + 90.0) < kSnap) {
        aAngle = -90.0;
        aSine = -1.0;
    }
}

//! Makes an angle and its cosine exact when the angle is nearly 0, 90 or 180 degrees.
void snapCosine(double& aAngle, double& aCosine)
{
    if (std::fabs(aAngle) < kSnap) {
        aAngle = 0.0;
        aCosine = 1.0;
    } else if (std::fabs(aAngle - 90.0) < kSnap) {
        aAngle = 90.0;
        aCosine = 0.0;
    } else if (std::fabs(aAngle - 180.0) < kSnap) {
        aAngle = 180.0;
        aCosine = -1.0;
    }
}

} // namespace

double ktmdl::Angle2D(double aX1, double aY1, double aX2, double aY2)
{
    const double length1 = std::sqrt(aX1 * aX1 + aY1 * aY1);
    const double length2 = std::sqrt(aX2 * aX2 + aY2 * aY2);
    if (length1 < 1e-6 || length2 < 1e-6) {
        // On purpose: the texts begin with a blank.
        // Pinned by Angle2DOfAVectorShorterThanAMillionthRaises.
        ktstd_fail_ProgramError::Raise(
            " in ktmdl::Angle2D: one of the input vectors has ZERO length");
    }
    const double x1 = aX1 / length1;
    const double y1 = aY1 / length1;
    const double x2 = aX2 / length2;
    const double y2 = aY2 / length2;
    double cosine = x1 * x2 + y1 * y2;
    if (std::fabs(cosine - 1.0) < 1e-6) {
        cosine = 1.0;
    } else if (std::fabs(cosine + 1.0) < 1e-6) {
        cosine = -1.0;
    }
    if (std::fabs(cosine) > 1.0) {
        ktstd_fail_ProgramError::Raise(
            " in ktmdl::Angle2D: dot product of the two input vectors is outside of cosine range");
    }
    const double angle = std::acos(cosine);
    return x1 * y2 - y1 * x2 >= 0.0 ? angle : -angle;
}

double ktmdl::ChooseAngle(double aSinA, double aCosA)
{
    constexpr double kDegree = kPi / 180.0;
    const double apart = std::sqrt(1e-5); // how far the readings of sine and cosine may differ
    double sine = clampToUnit(aSinA);
    double cosine = clampToUnit(aCosA);
    double fromSine = std::asin(sine) / kDegree;
    double fromCosine = std::acos(cosine) / kDegree;
    snapSine(fromSine, sine);
    snapCosine(fromCosine, cosine);

    if (sine < 0.0) {
        fromCosine = 360.0 - fromCosine;
        fromSine = cosine < 0.0 ? 180.0 - fromSine : fromSine + 360.0;
    } else if (cosine < 0.0) {
        fromSine = 180.0 - fromSine;
    }

    if (std::fabs(fromCosine - fromSine) > apart) {
        if (std::fabs(sine) > apart) {
            raiseNoAngle(aSinA, aCosA);
        }
        if (std::fabs(cosine - 1.0) <= apart) {
            return 0.0;
        }
        if (std::fabs(cosine + 1.0) <= apart) {
            return 180.0;
        }
        raiseNoAngle(aSinA, aCosA);
    }
    return fromSine > 180.0 ? fromSine - 360.0 : fromSine;
}

double ktmdl::Determinant33Matrix(const double* aMatrix) noexcept
{
    const double* m = aMatrix;
    return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) +
           m[2] * (m[3] * m[7] - m[4] * m[6]);
}

void ktmdl::RotAxis2Matrix(double aX, double aY, double aZ, double aAngle,
                           double aMatrix[4][4]) noexcept
{
    const double c = std::cos(aAngle);
    const double s = std::sin(aAngle);
    const double k = 1.0 - c;
    const double rotation[4][4] = {
        {aX * aX * k + c, aX * aY * k - s * aZ, aX * aZ * k + s * aY, 0.0},
        {aX * aY * k + s * aZ, aY * aY * k + c, aY * aZ * k - s * aX, 0.0},
        {aX * aZ * k - s * aY, aY * aZ * k + s * aX, aZ * aZ * k + c, 0.0},
        {0.0, 0.0, 0.0, 1.0}};
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            aMatrix[row][column] = rotation[row][column];
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Queries on host documents

namespace {

namespace Dimension = ktmdl_host::Dimension;
namespace Variables = ktmdl_host::Variables;

//! Gives the variables of a part document.
IDispatchPtr variablesOf(const IDispatchPtr& aDocument)
{
    const ktmdl_host::PartDocumentPtr pPartDoc(aDocument);
    KTMDL_CHECK_POINTER(pPartDoc, "pPartDoc");
    IDispatchPtr pVars = PropertyObject(pPartDoc, ktmdl_host::PartDocument::Variables);
    KTMDL_CHECK_POINTER(pVars, "pVars");
    return pVars;
}

//! Gives the variables that have a name.
//! @param aCriterion  UTF-8, wildcards allowed
//! @param aKind       what the host calls the variable type
IDispatchPtr queryVariables(IDispatch* aVars, const char* aCriterion, SHORT aKind)
{
    const _bstr_t criterion(com::fromUtf8(aCriterion).c_str());
    return FetchObject(aVars, Variables::Query, DISPATCH_METHOD,
                       {In(criterion), In(Variables::seVariableNameByBoth), In(aKind), Missing()});
}

ktstd_AsciiString systemNameOf(IDispatch* aDimension)
{
    return FetchText(aDimension, Dimension::Name, DISPATCH_PROPERTYGET, {In(SHORT{0})});
}

//! Gives the value of a dimension as a text.
std::string valueText(LONG aType, double aValue)
{
    char text[400]; // the largest number has 309 digits
    if (aType == Dimension::igDimTypeAngular || aType == Dimension::igDimTypeArcAngle) {
        // On purpose: an angle stands as it is stored, in radians; no result shows it.
        std::snprintf(text, sizeof text, "%3.lf deg", aValue);
    } else {
        std::snprintf(text, sizeof text, "%6.2lf mm", aValue * 1000.0);
    }
    return text;
}

std::string dimensionLine(IDispatch* aVars, const IDispatchPtr& aItem)
{
    const ktmdl_host::DimensionPtr pDim(aItem);
    KTMDL_CHECK_POINTER(pDim, "pDim");
    const ktstd_AsciiString name =
        FetchText(aVars, Variables::GetName, DISPATCH_METHOD, {InObject(aItem)});
    const ktstd_AsciiString systemName = systemNameOf(pDim);
    const LONG type = GetLong(pDim, Dimension::DimensionType);
    const double value = GetDouble(pDim, Dimension::Value);
    return std::string("Dimension ") + name.ToCString() + " " + systemName.ToCString() + " " +
           valueText(type, value);
}

std::string variableLine(IDispatch* aVars, const IDispatchPtr& aItem)
{
    const ktmdl_host::VariablePtr pVar(aItem);
    KTMDL_CHECK_POINTER(pVar, "pVar");
    const ktstd_AsciiString name =
        FetchText(aVars, Variables::GetName, DISPATCH_METHOD, {InObject(aItem)});
    const ktstd_AsciiString formula =
        FetchText(pVar, ktmdl_host::Variable::Name, DISPATCH_PROPERTYGET, {});
    const ktstd_AsciiString value =
        FetchText(pVar, ktmdl_host::Variable::GetValue, DISPATCH_METHOD, {});
    return std::string("Variable ") + name.ToCString() + " " + formula.ToCString() + " " +
           value.ToCString();
}

//! Lists all variables and dimensions.
std::string listingOf(IDispatch* aVars)
{
    const IDispatchPtr pVarList = queryVariables(aVars, "*", Variables::SeVariableVarTypeBoth);
    KTMDL_CHECK_POINTER(pVarList, "pVarList");
    std::string listing = "Document Variables:\n\n";
    const LONG count = GetLong(pVarList, ktmdl_host::VariableList::Count);
    for (LONG i = 1; i <= count; ++i) {
        const IDispatchPtr pItem = ItemOf(pVarList, i);
        KTMDL_CHECK_POINTER(pItem, "pItem");
        LONG type = 0;
        KTMDL_CHECK_RESULT(ComGetProperty(pItem, L"Type", VT_I4, &type));
        listing += type == ktmdl_host::igDimension ? dimensionLine(aVars, pItem)
                                                   : variableLine(aVars, pItem);
        listing += '\n';
    }
    return listing;
}

//! Asks a face for three numbers at a place of its parameter range.
void evaluate(IDispatch* aFace, DISPID aMember, HostArray& aParams, double* aOut)
{
    HostArray values(VT_R8);
    Call(aFace, aMember, {In(LONG{1}), aParams.ByRef(), values.ByRef()});
    KTMDL_CHECK_RESULT(GetValuesFromSafeArray(values.Get(), 3, aOut));
}

//! Asks a plane for three numbers; one that has no member of the name is left alone.
void askPlane(IDispatch* aPlane, const wchar_t* aMember, double* aOut)
{
    long id = 0;
    if (ComGetIdFromName(aPlane, aMember, id) < 0) {
        // On purpose: without a log line, and the query goes on.
        // Pinned by APlaneWithoutTheNameLeavesTheOutputUntouched.
        return;
    }
    HostArray values(VT_R8);
    Call(aPlane, static_cast<DISPID>(id), {values.ByRef()});
    KTMDL_CHECK_RESULT(GetValuesFromSafeArray(values.Get(), 3, aOut));
}

} // namespace

IDispatchPtr ktmdl::GetDimVarFromName(const IDispatchPtr& aDocument, const ktstd_AsciiString& aName)
{
    if (IsNull(aDocument) || aName.IsEmpty() != 0) {
        return IDispatchPtr();
    }
    try {
        const IDispatchPtr pVars = variablesOf(aDocument);
        const IDispatchPtr pVL =
            queryVariables(pVars, aName.ToCString(), Variables::SeVariableVarTypeBoth);
        KTMDL_CHECK_POINTER(pVL, "pVL");
        if (GetLong(pVL, ktmdl_host::VariableList::Count) == 1) {
            const ktmdl_host::DimensionPtr pDim(ItemOf(pVL, 1));
            KTMDL_CHECK_POINTER(pDim, "pDim");
            return pDim;
        }
        // On purpose: a name that several variables have is refused, and the host is asked for a
        // listing that nobody sees. Pinned by AnAmbiguousNameGivesNull and
        // WithoutASingleMatchAllVariablesAreAskedAndNothingIsWritten.
        static_cast<void>(listingOf(pVars));
    } catch (const _com_error& error) {
        KTMDL_REPORT_CAUGHT(error, "ktmdl::GetDimVarFromName");
    }
    return IDispatchPtr();
}

IDispatchPtr ktmdl::GetDimVarFromSystemName(const IDispatchPtr& aDocument,
                                            const ktstd_AsciiString& aSystemName)
{
    if (IsNull(aDocument) || aSystemName.IsEmpty() != 0) {
        return IDispatchPtr();
    }
    try {
        const IDispatchPtr pVars = variablesOf(aDocument);
        const IDispatchPtr pVL = queryVariables(pVars, "*", Variables::SeVariableVarTypeDimension);
        KTMDL_CHECK_POINTER(pVL, "pVL");
        const LONG count = GetLong(pVL, ktmdl_host::VariableList::Count);
        for (LONG i = 1; i <= count; ++i) {
            const ktmdl_host::DimensionPtr pDim(ItemOf(pVL, i));
            KTMDL_CHECK_POINTER(pDim, "pDim");
            if (systemNameOf(pDim).IsEqual(aSystemName) != 0) {
                return pDim;
            }
        }
    } catch (const _com_error& error) {
        KTMDL_REPORT_CAUGHT(error, "ktmdl::GetDimVarFromSystemName");
    }
    return IDispatchPtr();
}

long ktmdl::GetFaceInfo(const IDispatchPtr& aFace, double* aNormal, double* aPoint)
{
    try {
        const ktmdl_host::FacePtr pFace(aFace);
        KTMDL_CHECK_POINTER(pFace, "pFace");
        HostArray low(VT_R8);
        HostArray high(VT_R8);
        Call(pFace, ktmdl_host::Face::GetParamRange, {low.ByRef(), high.ByRef()});
        double min[2];
        double max[2];
        KTMDL_CHECK_RESULT(GetValuesFromSafeArray(low.Get(), 2, min));
        KTMDL_CHECK_RESULT(GetValuesFromSafeArray(high.Get(), 2, max));
        const double middle[2] = {(min[0] + max[0]) * 0.5, (min[1] + max[1]) * 0.5};
        HostArray params(VT_R8);
        KTMDL_CHECK_RESULT(PutValuesInSafeArray(2, middle, params.Receive()));
        if (aNormal != nullptr) {
            evaluate(pFace, ktmdl_host::Face::GetNormal, params, aNormal);
        }
        if (aPoint != nullptr) {
            evaluate(pFace, ktmdl_host::Face::GetPointAtParam, params, aPoint);
        }
        return S_OK;
    } catch (const _com_error& error) {
        KTMDL_REPORT_CAUGHT(error, "ktmdl::GetFaceInfo");
        return error.Error();
    }
}

long ktmdl::GetPlaneInfo(const IDispatchPtr& aPlane, double* aNormal, double* aRootPoint)
{
    try {
        KTMDL_CHECK_POINTER(aPlane, "aPlanePtr");
        IDispatchPtr pPlaneDisp = aPlane;
        LONG type = 0;
        KTMDL_CHECK_RESULT(ComGetProperty(aPlane, L"Type", VT_I4, &type));
        if (type == ktmdl_host::igReference) {
            const ktmdl_host::ReferencePtr pRef(aPlane);
            KTMDL_CHECK_POINTER(pRef, "pRef");
            pPlaneDisp = PropertyObject(pRef, ktmdl_host::Reference::Object);
            KTMDL_CHECK_POINTER(pPlaneDisp, "pPlaneDisp");
        }
        if (aNormal != nullptr) {
            askPlane(pPlaneDisp, L"GetNormal", aNormal);
        }
        if (aRootPoint != nullptr) {
            askPlane(pPlaneDisp, L"GetRootPoint", aRootPoint);
        }
        return S_OK;
    } catch (const _com_error& error) {
        KTMDL_REPORT_CAUGHT(error, "ktmdl::GetPlaneInfo");
        return error.Error();
    }
}
