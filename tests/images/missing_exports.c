/* An image that imports two functions the framework does not export. The
 * loader reports each of them and goes on; the entry never calls them.
 * vela-link: --library libc.so.6 */
#include <stdio.h>

void VelaAbsentExportOne(void);
int VelaAbsentExportTwo(int value);

volatile int gNever;

void VelaMain(void) {
  if (gNever) {
    VelaAbsentExportOne();
    gNever = VelaAbsentExportTwo(gNever);
  }
  printf("entered after the reports\n");
  fflush(NULL);
}
