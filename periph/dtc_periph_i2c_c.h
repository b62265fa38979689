/// The three device nodes of the I2C bus, in plain C: results are 0 for success and -1 for failure,
/// and failures are told on standard output. The last argument of each function is ignored; callers
/// pass 1.
#pragma once

extern "C" {

/// Opens the three nodes and binds each to its device's address. Counts as done, and does nothing,
/// when the node of the LEDs is open already, even if another one failed then: transfers to that
/// one fail.
short I2C_init(int);

/// Closes whichever of the three nodes are open.
short I2C_close(int);

/// One transfer of exactly length bytes to, or from, the device at the 7-bit address.
short I2C_write(unsigned short address, unsigned char const* buffer, unsigned short length, int);
short I2C_read(unsigned short address, unsigned char* buffer, unsigned short length, int);
}
