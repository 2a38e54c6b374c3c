# Install rules and packaging live here.
