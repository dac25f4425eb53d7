// The user's own browser.
#ifndef QX_CLI_BROWSER_H
#define QX_CLI_BROWSER_H

#include <string>

namespace qx::cli {

// Shows a page in it, with xdg-open; where there is none, nothing happens.
void OpenInBrowser(const std::string& address);

}  // namespace qx::cli

#endif  // QX_CLI_BROWSER_H
