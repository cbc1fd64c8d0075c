# Where a card is: the last one is the first of the next PCIe domain.
address() {
    printf '%04x:%02x:00.0' $((($1 + 2) / 256)) $((($1 + 2) % 256))
}

# The serial part of its UUID, in two bytes.
uuid_end() {
    printf '0x%x 0x%x' $(((0xeeff + $1) / 256)) $(((0xeeff + $1) % 256))
}

for card in $(seq 0 254); do
    cat << end
ZelGetVersion  3.1.2 
========================================================================
Running Coprocessor Diagnostics on device $((card + 1)) of 255 (zel$card on PCIe Addr $(address "$card"))
HOSK Version=3.1.2; Flash version=2.1.02.0390; SMC Version=1.16.42
------------------------------------------------------------------------
SMC Diagnostics (Ostrel(R) Vimbra(TM) Coprocessor only) : BEGINS

Test 1: SMC get firmware version
SMC firmware version: 1.16.42
Test 1: PASSED

Test 2: SMC get hardware revision
Board Type   : Product
FAB Version  : FAB A
Power Config : 225W
Heat Sink    : Active
Mem Config   : Non-Clamshell
Test 2: PASSED

Test 3: SMC get UUID
SMC UUID :
0x0 0x11 0x22 0x33 
0x44 0x55 0x66 0x77 
0x88 0x99 0xaa 0xbb 
0xcc 0xdd $(uuid_end "$card") 
Test 3: PASSED

SMC Diagnostics (Ostrel(R) Vimbra(TM) Coprocessor only) : ENDS
Test Group [SMC Diagnostics (Ostrel(R) Vimbra(TM) Coprocessor only)]: PASSED
------------------------------------------------------------------------
Coprocessor Diagnostics completed for device: $((card + 1)) of 255
Device Status: OK
========================================================================
end
done

echo
echo 'HOSK Version: 3.1.2'
echo '=============================================================================='
for card in $(seq 0 254); do
    echo "zel$card ($(address "$card"); Flash=2.1.02.0390; SMC=1.16.42): PASSED"
done
echo '=============================================================================='
echo 'No ZEL Cards with Errors.'
