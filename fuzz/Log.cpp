#include "Targets.h"
#include "ktmdl/ktmdl_BBox2d.h"
#include "ktmdl/ktmdl_BBox3d.h"
#include "ktmdl/ktmdl_CrdSys3d.h"
#include "ktmdl/ktmdl_ErosionPos.h"
#include "ktmdl/ktmdl_ShowVariable.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_Trsf2d.h"
#include "ktmdl/ktmdl_Trsf3d.h"
#include "ktmdl/ktmdl_Vec2d.h"
#include "ktmdl/ktmdl_Vec3d.h"
#include "ktstd/ktstd_Debug.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <sstream>

namespace kt_fuzz {
namespace {

//! Takes values out of bytes; zeros at the end.
class Source
{
public:
    Source(const unsigned char* aBytes, std::size_t aSize) : mBytes(aBytes), mLeft(aSize) {}

    template <class Value>
    Value Take()
    {
        Value value{};
        const std::size_t size = std::min(sizeof value, mLeft);
        if (size != 0) {
            std::memcpy(&value, mBytes, size);
        }
        mBytes += size;
        mLeft -= size;
        return value;
    }
    double Number() { return Take<double>(); }
    ktmdl_Pnt3d Point()
    {
        const double x = Number();
        const double y = Number();
        return {x, y, Number()};
    }
    //! Gives the rest up to a zero byte.
    std::string Rest()
    {
        const auto* const end = std::find(mBytes, mBytes + mLeft, 0);
        return {mBytes, end};
    }

private:
    const unsigned char* mBytes;
    std::size_t mLeft;
};

//! A log whose text is kept, with a format state of its own, while this lives.
class Log
{
public:
    explicit Log(Source& aSource) : mStream(stream()), mOld(nullptr)
    {
        mOld.copyfmt(mStream);
        mBuffer = base().rdbuf(&mText);
        // Widths and precisions beyond any use would only try the standard library's memory.
        constexpr int kMost = 500;
        mStream.flags(static_cast<std::ios_base::fmtflags>(aSource.Take<std::uint32_t>()));
        mStream.precision(aSource.Take<std::int16_t>() % kMost);
        mStream.width(aSource.Take<std::int16_t>() % kMost);
        mStream.fill(aSource.Take<char>());
        mFlags = mStream.flags();
        mPrecision = mStream.precision();
        mFill = mStream.fill();
    }
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;
    ~Log()
    {
        base().rdbuf(mBuffer);
        mStream.copyfmt(mOld);
    }

    //! Checks what a dump left.
    //! @param aKeepsFill  also the fill character is as it was; a blank otherwise
    void Check(const char* aName, bool aKeepsFill)
    {
        require(mStream.good(), "the log is in a state of error");
        require(mStream.flags() == mFlags, "flags changed");
        require(mStream.precision() == mPrecision, "precision changed");
        require(mStream.fill() == (aKeepsFill ? mFill : ' '), "fill character");
        const std::string text = mText.str();
        require(!text.empty() && text.back() == '\n', "no line end");
        require(text.find(aName != nullptr ? aName : "") != std::string::npos, "name not whole");
    }

private:
    static std::fstream& stream()
    {
#if defined(_WIN32)
        static const int sIsOpen = (ktstd_Debug::SetLogPath("NUL"), 0);
#else
        static const int sIsOpen = (ktstd_Debug::SetLogPath("/dev/null"), 0);
#endif
        static_cast<void>(sIsOpen);
        return ktstd_Debug::LogPrint();
    }
    std::ios& base()
    {
        return mStream;
    }

    std::fstream& mStream;
    std::ios mOld;
    std::streambuf* mBuffer{nullptr};
    std::stringbuf mText;
    std::ios_base::fmtflags mFlags{};
    std::streamsize mPrecision{0};
    char mFill{' '};
};

//! A dump of a value made of the source's bytes.
struct Dump
{
    bool keepsFill;
    void (*show)(const char* aName, Source& aSource);
};

const Dump kDumps[] = {
    {true, [](const char* aName, Source& s) { ShowVariable(aName, ktmdl_Pnt2d(s.Number(), 1)); }},
    {true, [](const char* aName, Source& s) { ShowVariable(aName, ktmdl_Vec2d(0, s.Number())); }},
    {true, [](const char* aName, Source& s) { ShowVariable(aName, s.Point()); }},
    {true,
     [](const char* aName, Source& s) { ShowVariable(aName, ktmdl_Vec3d(s.Number(), 0, 1)); }},
    {true,
     [](const char* aName, Source& s) {
         ktmdl_Axis3d axis;
         axis.Set(s.Point());
         ShowVariable(aName, axis);
     }},
    {true,
     [](const char* aName, Source& s) {
         ktmdl_CrdSys3d system;
         system.Set(s.Point());
         ShowVariable(aName, system);
     }},
    {true, [](const char* aName,
              Source& s) { ShowVariable(aName, ktmdl_BBox2d(s.Number(), s.Number(), 0, 1)); }},
    {true,
     [](const char* aName, Source& s) {
         const ktmdl_Pnt3d corner = s.Point();
         ShowVariable(aName, ktmdl_BBox3d(corner, s.Point()));
     }},
    {true,
     [](const char* aName, Source& s) {
         ktmdl_Pnt3d point = s.Point();
         ktstd_Dim angle(s.Number(), static_cast<ktstd_Dim::Kind>(s.Take<unsigned char>() % 3));
         ShowVariable(aName, ktmdl_ErosionPos(point, angle));
     }},
    {false,
     [](const char* aName, Source& s) {
         ShowVariable(aName, ktmdl_Trsf2d(s.Number(), s.Number(), 0, 1, s.Number(), 2));
     }},
    {true,
     [](const char* aName, Source& s) {
         double matrix[4][4];
         for (auto& row : matrix) {
             for (double& number : row) {
                 number = s.Number();
             }
         }
         ktmdl_Trsf3d trsf;
         trsf.SetMatrix(matrix);
         ShowVariable(aName, trsf);
     }},
    {true,
     [](const char* aName, Source& s) {
         const bool isNull = s.Take<unsigned char>() % 2 == 0;
         ShowVariable(aName, isNull ? Hnd_ktmdl_Topo() : Hnd_ktmdl_Topo(new ktmdl_Topo()));
     }},
};

} // namespace

void logDump(const unsigned char* aBytes, std::size_t aSize)
{
    Source source(aBytes, aSize);
    const auto selector = source.Take<unsigned char>();
    const Dump& dump = kDumps[selector % std::size(kDumps)];
    Log log(source);
    Source values = source;
    const std::string text = source.Rest();
    const char* const name = selector < 128 ? text.c_str() : nullptr;
    dump.show(name, values);
    log.Check(name, dump.keepsFill);
}

} // namespace kt_fuzz
