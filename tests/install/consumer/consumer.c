/* The smallest host: asks the library for its decimals. */
#include <stdio.h>
#include <tavo/records.h>
#include <tavo/tavo.h>

int main(void) {
  TVO_Decimals decimals = {0, 0, 0};
  if (TVO_GetDecimals(&decimals) != TVO_OK) return 1;
  printf("decimals: %u %u %u\n", decimals.angular, decimals.linear, decimals.geographic);
  return decimals.geographic == 10 ? 0 : 1;
}
