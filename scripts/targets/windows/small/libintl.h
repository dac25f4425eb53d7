/* The functions of gettext without any translation: the program speaks English. */
#ifndef LIBINTL_H
#define LIBINTL_H

#include <locale.h>

/* GLib asks about this category, which the system does not have. */
#ifndef LC_MESSAGES
#define LC_MESSAGES 1729
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* What is given back is checked as the format that it is. */
#define LIBINTL_FORMAT(argument) __attribute__((__format_arg__(argument)))

LIBINTL_FORMAT(1) char* gettext(const char* text);
LIBINTL_FORMAT(2) char* dgettext(const char* domain, const char* text);
LIBINTL_FORMAT(2) char* dcgettext(const char* domain, const char* text, int category);
LIBINTL_FORMAT(1) LIBINTL_FORMAT(2) char* ngettext(const char* one, const char* many, unsigned long count);
LIBINTL_FORMAT(2)
LIBINTL_FORMAT(3) char* dngettext(const char* domain, const char* one, const char* many, unsigned long count);
char* textdomain(const char* domain);
char* bindtextdomain(const char* domain, const char* folder);
char* bind_textdomain_codeset(const char* domain, const char* codeset);

#ifdef __cplusplus
}
#endif

#endif
