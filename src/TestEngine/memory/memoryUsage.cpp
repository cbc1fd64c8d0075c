// The Memory group's usage text: tests, options, examples.
#include "TestEngine/memory/memory.h"
#include "TestEngine/te_main_console.h"
#include "TestEngine/te_main_params.h"

namespace {

void PrintNotes() {
    IFSTDISP("\nNotes:\n");
    IFSTDISP("     This test group requires the devices to be in ready state.\n");
    IFSTDISP("     If the ZelDiag process is killed  after memory testing started.\n");
    IFSTDISP("            set Coprocessor to ready state manually.\n");
    IFSTDISP("     For more information please consult the User Guide.\n\n");
}

void PrintRangeOptions() {
    IFSTDISP(
        "     -startAddress=<Address> : Coprocessor memory address from which test needs to start\n"
        "                               if it is not given, testing starts at the default "
        "address,\n"
        "                               0 GB for Ember Ridge devices and 128MB for Ember Vale "
        "Devices\n");
    IFSTDISP(
        "     -endAddress=<Address>   : Coprocessor memory address where test needs to end\n"
        "                               if it is above startAddress, it takes precedence over "
        "memSize\n");
    IFSTDISP(
        "     -memSize=<size>         : Size of Memory to test.  \n"
        "                               if endAddress is given, memSize is calculated from it, \n"
        "                               or else memSize is set to default value 1MB, \n");
}

void PrintDataOptions() {
    IFSTDISP(
        "     -datawidth or -dw=<width> : data width to test at a time, valid values are \n"
        "                               BYTE or B   : 1 byte\n"
        "                               WORD or W   : 2 bytes\n"
        "                               DWORD or DW : 4 bytes\n"
        "                               QWORD or QW : 8 bytes\n"
        "                               default value is QWORD\n");
    IFSTDISP(
        "     -datapattern or -dp=<pattern> : data pattern to be used for read/write \n"
        "                               i.e. -dataPattern=0x5a5a5a5a\n"
        "                               i.e. -dp=0x5a5a5a5a\n"
        "                               default value is 0xaaaaaaaa\n");
}

void PrintOptions() {
    IFSTDISP("Test Options:\n");
    IFSTDISP(
        "     -all : execute all tests in the memory test group, except memory full range test\n"
        "     \t this is skipped and returns as PASSED\n");
    IFSTDISP(
        "     The following options are applicable for only -wr test case and are initialized with "
        "default values if not listed in the command\n");
    PrintRangeOptions();
    PrintDataOptions();
    IFSTDISP(
        "     The -mem -full test case is not part of test group -all\n"
        "           and to be executed explicitly with -mem -full parameters   \n");
    IFSTDISP(
        "     The following parameters are applicable for all test cases\n"
        "     -skipOnFail     : indicate if test need to skip on fail\n"
        "     -brkOnFail or -breakOnFail : indicate if test need to stop on fail\n");
}

void PrintExamples() {
    IFSTDISP("Examples:\n");
    IFSTDISP(
        "    ZelDiag -mem -wr -startAddress=0x0d000000 -memSize=0x40 -dp=0x5a5a5a5a -dw=DW\n"
        "     This will test 0x40 bytes from address 0x0d000000 with data pattern 0x5a5a5a5a\n"
        "     and datawith of 4 bytes\n");
    IFSTDISP(
        "    ZelDiag -mem -wr -startAddress=0x0d000000 -endAddress=0x0e000000 -dp=0x5a5a5a5a "
        "-dw=DW\n"
        "     This will test memory from address 0x0d000000 up to address 0x0e000000\n"
        "     with data pattern 0x5a5a5a5a and data width of 4 bytes\n");
    IFSTDISP(
        "    ZelDiag -mem -wr \n"
        "     This will test 1MB of memory from the default start address\n"
        "     with data pattern 0xaaaaaaaa and data width of 8 bytes\n");
    IFSTDISP(
        "    ZelDiag -mem -full \n"
        "     This will run  memory  test on entire Coprocessor memory from Host  \n");
}

}  // namespace

void memoryUsage() {
    const ifstDisplayState displaying;
    IFSTDISP("Coprocessor Diagnostics\n\n");
    IFSTDISP("Test Group: Memory\n\n");
    IFSTDISP("Available Test(s): <Test ID>\n");
    ifstPrintTestList(k_memoryFrontEnd);
    PrintNotes();
    PrintOptions();
    PrintExamples();
}
