//! @file
//! A call as a member's function sees it: checked arguments in, answers out.

#pragma once

#include "standin/Arguments.h"
#include "standin/Result.h"

#include <cstddef>
#include <string>

namespace standin {

class Call
{
public:
    Call(const Member& member, const Arguments& arguments) : calledMember(member), given_(arguments)
    {}

    [[nodiscard]] bool given(std::size_t parameter) const { return given_.given(parameter); }
    [[nodiscard]] LONG integer(std::size_t parameter) const { return given_.integer(parameter); }
    [[nodiscard]] bool flag(std::size_t parameter) const { return given_.flag(parameter); }
    //! Gives a text as UTF-8.
    [[nodiscard]] std::string text(std::size_t parameter) const { return given_.textOf(parameter); }
    //! Gives an object of the caller, borrowed; whose it is, is not known.
    [[nodiscard]] IDispatch* object(std::size_t parameter) const
    {
        return given_.object(parameter);
    }
    //! Gives the number or Boolean inside an optional VARIANT.
    //! @param otherwise  when it was left out
    //! @throws CallFailure  DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW
    [[nodiscard]] LONG variantNumber(std::size_t parameter, LONG otherwise) const;
    //! Gives what a by-value argument holds.
    [[nodiscard]] const VARIANT& variant(std::size_t parameter) const
    {
        return given_.variant(parameter);
    }
    //! Gives a number.
    //! @throws CallFailure  E_INVALIDARG when it is not finite
    [[nodiscard]] double real(std::size_t parameter) const;
    //! Gives a 1-based index into a collection.
    //! @return 0-based
    //! @throws CallFailure  DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW; DISP_E_BADINDEX when it is not
    //!                      from 1 to count
    [[nodiscard]] std::size_t index(std::size_t parameter, std::size_t count) const;
    //! Gives a count of points or parameters.
    //! @throws CallFailure  E_INVALIDARG when it is not from 1 to 1,000,000
    [[nodiscard]] std::size_t count(std::size_t parameter) const;

    //! Gives the numbers in an array; empty for a null array.
    [[nodiscard]] Doubles doubles(std::size_t parameter) const;
    //! Gives the first numbers in an array.
    //! @throws CallFailure  E_INVALIDARG when it holds fewer, or one that is not finite
    [[nodiscard]] Doubles doubles(std::size_t parameter, std::size_t count) const;
    //! Gives the bytes in an array; empty for a null array.
    [[nodiscard]] Bytes bytes(std::size_t parameter) const;

    //! Sets the result.
    void answer(Value value) { answers.setResult(std::move(value)); }
    //! Sets a by-reference argument; one that was left out stays out.
    void put(std::size_t parameter, Value value);

    [[nodiscard]] Result& result() noexcept { return answers; }

private:
    const Member& calledMember;
    const Arguments& given_;
    Result answers;
};

//! Ends the call with a failure of the host: DISP_E_EXCEPTION, the code and the text in EXCEPINFO.
[[noreturn]] void failCall(HRESULT code, const std::string& text);

} // namespace standin
