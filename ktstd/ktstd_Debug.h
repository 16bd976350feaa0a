//! @file
//! The process-wide diagnostic log.
#pragma once

#include "ktstd/ktstd_Export.h"

#include <fstream>

//! The diagnostic log, to which everything that is to be reported is written.
//!
//! It is opened when it is first asked for, and appended to: at the path set with SetLogPath, else
//! at the path in the environment variable KTSTD_LOG, else as ktstd.log in the user's folder for
//! temporary files. A log that can't be opened or written swallows what is written, and works again
//! as soon as it can. Lines end with a line feed alone on every platform.
class KTSTD_EXPORT ktstd_Debug
{
public:
    //! Gives the log, ready to be written to: no error state, no exceptions enabled. Its formatting
    //! (base, fill character and so on) is as the last writer left it.
    [[nodiscard]] static std::fstream& LogPrint() noexcept;

    //! Closes the log; the next use opens it at another path.
    //! @param aPath  path in UTF-8; null or empty for the environment's or the temporary folder's
    static void SetLogPath(const char* aPath);
    //! Gives the path, in UTF-8, of the log that is open or would be opened; borrowed until the
    //! next call of this class.
    [[nodiscard]] static const char* LogPath();
};
