/* Included in front of GoogleTest's sources on Windows. Failures are sent to a debugger, too, by an
 * exception that Wine under an emulator does not survive: they go nowhere instead. */
#include <windows.h>
#define OutputDebugStringA lstrlenA
