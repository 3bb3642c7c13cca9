"""A simulated storage appliance: one state behind every tool and kernel file."""
