#include <skylark_io/adapter/dtc_io.h>
#include <stdio.h>

int main(void)
{
    return puts(DTC_Get_Version()) == EOF;
}
