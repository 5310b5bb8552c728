/* The application's resource folder: files that ship beside the program, in
 * the folder "<name> Resources" (the program's name without its extension)
 * or else "Resources". Each call names one file of the folder. */
#ifndef VELA_LOADER_H
#define VELA_LOADER_H

#include "vela/object.h"
#include "vela/string.h"

VELA_BEGIN_DECLS

/* The file's whole text as a new UTF-8 string; Nil without such a file. */
VELA_API TESSstring RuntimeGetTextFileFromResourceManager(TESSstring name);
/* Media objects for the file; Nil without such a file. */
VELA_API RuntimeObject *RuntimeGetSoundFromResourceManager(TESSstring name);
VELA_API RuntimeObject *RuntimeGetMovieFromResourceManager(TESSstring name);
VELA_API RuntimeObject *RuntimeGetPictureFromResourceManager(TESSstring name);

VELA_END_DECLS

#endif
