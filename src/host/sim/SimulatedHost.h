#pragma once
// In-memory stand-in for the host, for tests and the session driver.
